#include "src/server_access/cli_diagnostics.h"

#include "orvxml/trace.h"
#include "src/outcome/edge.h"

namespace orvxml {

CliDiagnostic firstDiagnostic(SQLSMALLINT type, SQLHANDLE handle) {
  CliDiagnostic diagnostic;
  SQLSMALLINT length = 0;
  SQLGetDiagRec(type, handle, 1, reinterpret_cast<SQLCHAR*>(diagnostic.state),
                &diagnostic.nativeError, reinterpret_cast<SQLCHAR*>(diagnostic.text),
                sizeof diagnostic.text, &length);
  return diagnostic;
}

namespace {

// `file` stands in the message.
Failure cliFailure(QrkStruct* ctx, SQLRETURN rc, const CliDiagnostic& said, const char* what,
                   const std::string& file, int line) {
  QRK_TRACE(ctx, "CLI failed for %s: cliMsg= %s cliRC=%d cliState=%s sqlcode=%d", what, said.text,
            rc, said.state, said.nativeError);
  return Failure(Msg::QRKG006E, said.state, rc, buildStamp(), file, line, said.text)
      .ofStatement(said.nativeError, said.text);
}

}  // namespace

Failure cliFailure(QrkStruct* ctx, SQLRETURN rc, SQLSMALLINT type, SQLHANDLE handle,
                   const char* what, const char* module, SourcePlace where) {
  return cliFailure(ctx, rc, firstDiagnostic(type, handle), what, module ? module : moduleOf(where),
                    where.line);
}

Failure failureInServerWords(const CliDiagnostic& diagnostic, SourcePlace where) {
  const int code = codeOf(Msg::QRKG006E);
  return *diagnostic.text
             ? Failure::said(code, diagnostic.text).ofStatement(diagnostic.nativeError, "")
             : Failure::internal(nullptr, where).withCode(code);
}

int qrkCLIError(QrkStruct* ctx, short cliRc, short handleType, SQLHANDLE* handle, const char* what,
                const char* file, int line, char* msg) {
  const CliDiagnostic said = firstDiagnostic(handleType, handle ? *handle : SQL_NULL_HANDLE);
  return reportFailure({ctx, msg}, cliFailure(ctx, cliRc, said, what, file, line));
}

}  // namespace orvxml
