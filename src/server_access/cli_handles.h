// Owners of call-level interface handles. Whatever is still open is released by the destructors;
// `close` does the same and reports. Every failure is a QRKG006E that names the owner's module.
#pragma once

#include "orvxml/context.h"

namespace orvxml {

// The call's own connection to the database of the running procedure, inside the caller's unit of
// work: an environment and a connection handle, autocommit off.
class CliConnection {
 public:
  CliConnection(QrkStruct* ctx, const char* module, char* msg)
      : ctx_(ctx), module_(module), msg_(msg) {}
  ~CliConnection();
  CliConnection(const CliConnection&) = delete;
  CliConnection& operator=(const CliConnection&) = delete;

  int open();  // 0 or -57
  // Disconnects and frees the handles. Returns `code`, or -57 with a new message when a step fails.
  int close(int code);
  SQLHDBC handle() const { return hdbc_; }

 private:
  int allocate();
  int connect();
  struct SetUpStep;
  int setUpFailed(SQLRETURN rc, SQLSMALLINT type, SQLHANDLE* handle, const SetUpStep& step,
                  int line);
  int failed(SQLRETURN rc, SQLSMALLINT type, SQLHANDLE* handle, const char* what, int line);

  QrkStruct* ctx_;
  const char* module_;
  char* msg_;
  SQLHENV henv_ = SQL_NULL_HANDLE;
  SQLHDBC hdbc_ = SQL_NULL_HANDLE;
  bool connected_ = false;
};

// The same, whose steps throw: a QRKG006E names this folder's file.
class ServerConnection {
 public:
  explicit ServerConnection(QrkStruct* ctx) : ctx_(ctx) {}
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

  QrkStruct* ctx_;
  SQLHENV henv_ = SQL_NULL_HANDLE;
  SQLHDBC hdbc_ = SQL_NULL_HANDLE;
  bool connected_ = false;
};

}  // namespace orvxml
