// Owners of call-level interface handles. Whatever is still open is released by the destructors;
// `close` does the same and throws what fails, a QRKG006E.
#pragma once

#include "orvxml/context.h"
#include "src/outcome/failure.h"

namespace orvxml {

// The call's own connection to the database of the running procedure, inside the caller's unit of
// work: an environment and a connection handle, autocommit off. `module` stands in messages in the
// place of the file's name where the interface gives one.
class ServerConnection {
 public:
  explicit ServerConnection(QrkStruct* ctx, const char* module = nullptr)
      : ctx_(ctx), module_(module) {}
  ~ServerConnection();
  ServerConnection(const ServerConnection&) = delete;
  ServerConnection& operator=(const ServerConnection&) = delete;

  void open();
  // Disconnects and frees the handles, all of them also when a step fails.
  void close();
  SQLHDBC handle() const { return hdbc_; }

 private:
  void allocate();
  void connect();
  // The trace names the failed step of the set-up before the message does.
  Failure setUpFailure(SQLRETURN rc, SQLSMALLINT type, SQLHANDLE handle, const char* what,
                       const char* traced, SourcePlace where = SourcePlace::here()) const;

  QrkStruct* ctx_;
  const char* module_;
  SQLHENV henv_ = SQL_NULL_HANDLE;
  SQLHDBC hdbc_ = SQL_NULL_HANDLE;
  bool connected_ = false;
};

}  // namespace orvxml
