// A library context without a server behind it, for what needs no database: texts of the caller are
// UTF-8, and messages have their full length.
#pragma once

#include "orvxml/context.h"

namespace orvxml::command {

class LocalContext {
 public:
  LocalContext();  // throws Failure
  ~LocalContext();
  LocalContext(const LocalContext&) = delete;
  LocalContext& operator=(const LocalContext&) = delete;
  QrkStruct* get() { return &context_; }

  // Where the library's functions leave their outcome.
  char sqlState[kSqlStateSize] = "";
  char message[kMessageSize] = "";

 private:
  QrkStruct context_{};
};

}  // namespace orvxml::command
