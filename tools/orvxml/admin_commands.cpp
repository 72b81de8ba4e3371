#include "admin_commands.h"

#include <filesystem>

#include "console.h"
#include "enable_commands.h"
#include "open_database.h"
#include "orvxml/trace.h"
#include "text_encoding.h"

namespace orvxml::command {

namespace {

// The file behind a database URL.
std::string databaseFile(const std::string& url) {
  constexpr std::string_view kScheme = "sqlite:";
  return url.starts_with(kScheme) ? url.substr(kScheme.size()) : url;
}

// The library's statements and messages are ASCII as they stand.
void requireAscii(const std::string& where, int codePage) {
  const std::string characters = "ABYZabyz0189 '\"<>&/()=.,;:-_";
  if (toCodePage(where, characters, codePage) == characters) return;
  throw Failure(where, "in code page " + std::to_string(codePage) +
                           " letters have other bytes than in ASCII: the library cannot use it");
}

void bindAndCommit(orv::Session& session, const std::string& where) {
  bindPackages();
  require(session.commit(), where);
}

// Messages of a procedure's context have their full length.
QrkStruct procedureContext() {
  QrkStruct context{};
  context.callFrom = CALL_FROM_STP;
  return context;
}

void note(const Settings& settings, const std::string& text) {
  if (!settings.quiet) printMessage("", text);
}

}  // namespace

void createDatabase(const Settings& settings, int codePage, bool enable) {
  const std::string& url = requireDatabase(settings);
  orv::Outcome outcome;
  std::unique_ptr<orv::Session> session = orv::Session::create(url, codePage, outcome);
  require(outcome, url);
  session->makeCurrent();
  try {
    requireAscii(url, codePage);
    bindAndCommit(*session, url);
    note(settings, "created " + url + " with code page " + std::to_string(codePage));
    session.reset();
    if (enable) enableDatabase(settings, {});
  } catch (...) {
    session.reset();
    std::error_code ignored;
    std::filesystem::remove(databaseFile(url), ignored);
    throw;
  }
}

void bindDatabase(const Settings& settings) {
  const std::unique_ptr<orv::Session> session = openDatabase(settings);
  bindAndCommit(*session, settings.database);
  note(settings, "bound the packages in " + settings.database);
}

void traceOn(const Settings& settings, const std::string& directory) {
  // The server writes the trace from wherever it runs, so the path may not be relative.
  std::error_code error;
  std::string path = std::filesystem::absolute(directory, error).string();
  if (error) throw Failure(directory, error.message());
  while (path.size() > 1 && path.ends_with('/')) path.pop_back();
  QrkStruct context = procedureContext();
  char message[kMessageSize] = "";
  int code = 0;
  if (qrkTraceOn(&context, path.data(), nullptr, message, &code) != 0) {
    throw Failure("", *message ? message : "code " + std::to_string(code));
  }
  note(settings, message);
}

void traceOff(const Settings& settings) {
  QrkStruct context = procedureContext();
  char message[kMessageSize] = "";
  int code = 0;
  if (qrkTraceOff(&context, nullptr, message, &code) != 0) {
    throw Failure("", *message ? message : "code " + std::to_string(code));
  }
  note(settings, message);
}

}  // namespace orvxml::command
