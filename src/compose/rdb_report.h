// Where the failures of one RDB_node composition go. Every function but report() returns -1.
#pragma once

#include "orvxml/context.h"

namespace orvxml {

inline constexpr char kRdbModule[] = "qrkrcomp";

struct RdbReport {
  QrkStruct* ctx;
  int* errCode;
  char* msg;

  Report report() const { return {ctx, msg, errCode}; }
  template <class... Args>
  int failed(Msg message, const Args&... args) const {
    return orvxml::failed(report(), message, args...);
  }
  // `message` behind the message that stands.
  int failedAlso(Msg message, const char* argument) const;
  int internal(int line) const;
  // QRKG001E, and behind it the message that stood before, which tells why.
  int internalBecause(int line) const;
  // A call of the call-level interface: the server's words alone, or QRKG006E around them.
  int serverWords(SQLSMALLINT type, SQLHANDLE handle, int line) const;
  int cli(SQLRETURN rc, SQLHSTMT hstmt, const char* what, int line) const;
  // A statement that the server refused: QRKQ053E with its words.
  int statement(SQLHSTMT hstmt) const;
};

}  // namespace orvxml
