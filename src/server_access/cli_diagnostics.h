// What the server says about a failed call of the call-level interface.
#pragma once

#include <string_view>

#include "src/outcome/failure.h"

namespace orvxml {

// The first diagnostic record of a handle; empty texts when it has none.
struct CliDiagnostic {
  char state[kSqlStateSize] = "";
  char text[kMessageSize + 1] = "";
  SQLINTEGER nativeError = 0;
};
CliDiagnostic firstDiagnostic(SQLSMALLINT type, SQLHANDLE handle);

// A failed call of the call-level interface (QRKG006E): `what` names the step, `module` stands in
// the place of the file's name where the interface gives one.
Failure cliFailure(QrkStruct* ctx, SQLRETURN rc, SQLSMALLINT type, SQLHANDLE handle,
                   const char* what, const char* module = nullptr,
                   SourcePlace where = SourcePlace::here());

// The same with the server's words as the whole message; without any it is an internal error.
Failure failureInServerWords(const CliDiagnostic& diagnostic,
                             SourcePlace where = SourcePlace::here());

}  // namespace orvxml
