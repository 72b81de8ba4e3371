#include "database.h"

#include <cstdlib>
#include <filesystem>

#include "orv/apie.h"

namespace orvxml::command {

namespace {

constexpr const char* kBindList = "orvxml/bnd/@qrkbind.lst";

// An installation is found by ORVXML_HOME, else around the executable, else where it was meant to
// be installed.
std::string bindListPath() {
  namespace fs = std::filesystem;
  if (const char* home = std::getenv("ORVXML_HOME"); home != nullptr && *home != '\0') {
    return (fs::path(home) / "share" / kBindList).string();
  }
  std::error_code error;
  const fs::path executable = fs::read_symlink("/proc/self/exe", error);
  if (!error) {
    const fs::path beside = executable.parent_path().parent_path() / "share" / kBindList;
    if (fs::exists(beside, error)) return beside.string();
  }
  return (fs::path(ORVXML_DATA_DIR) / kBindList).string();
}

std::string serverText(const sqlca& area) {
  char text[1024];
  const int length = sqlaintp_api(text, sizeof text, 0, nullptr, &area);
  if (length > 0) return std::string(text, static_cast<size_t>(length));
  return "SQLCODE " + std::to_string(area.sqlcode);
}

}  // namespace

const std::string& requireDatabase(const Settings& settings) {
  if (settings.database.empty()) {
    throw Failure("", "no database: give --db PATH or set ORVXML_DB", kWrongUse);
  }
  return settings.database;
}

void require(const orv::Outcome& outcome, const std::string& where) {
  if (!outcome.failed()) return;
  throw Failure(where, outcome.message.empty() ? "SQLCODE " + std::to_string(outcome.sqlcode)
                                               : outcome.message);
}

std::unique_ptr<orv::Session> openDatabase(const Settings& settings) {
  orv::Outcome outcome;
  std::unique_ptr<orv::Session> session = orv::Session::open(requireDatabase(settings), outcome);
  require(outcome, settings.database);
  session->makeCurrent();
  return session;
}

void bindPackages() {
  // The option list that every caller of the bind function passes: type 27, twice.
  struct {
    sqlopt_header header{2, 2};
    sqlopt_entry option[2]{{27, 0}, {27, 0}};
  } options;
  const std::string list = bindListPath();
  sqlca area{};
  sqlabndx(list.c_str(), nullptr, reinterpret_cast<const sqlopt*>(&options), &area);
  if (area.sqlcode < 0) throw Failure(list, serverText(area));
}

}  // namespace orvxml::command
