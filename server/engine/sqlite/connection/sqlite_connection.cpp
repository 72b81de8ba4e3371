// Failures into text and back, the waits for locks, commands; then the opening of files. A new
// database is filled under another name and put in place by a link, so that no other process sees
// half of one; one that cannot be written is opened as unchangeable where that is certain.
#include "server/engine/sqlite/connection/sqlite_connection.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cctype>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <thread>

namespace orv::sqlite {
namespace {

constexpr std::chrono::milliseconds kLockWait{5000};
constexpr std::chrono::milliseconds kLockPause{10};
// What undoes one statement; beyond this it goes to a temporary file, for the rest of the unit of
// work and page by page. SQLite moves it there in one write, and its writes end at 0x1ffff bytes:
// with more here it would take the disk for full.
constexpr int kStatementJournalBytes = 0x1ffff;
// Enough that what a unit of work writes seldom has to leave memory before its end.
constexpr int kCacheKilobytes = 65536;
constexpr char kFailureMark = '\x01';
constexpr char kTokenEnd = '\x1f';

// The parts of a failure's text after the mark; nothing when the text is SQLite's own.
std::vector<std::string> failureParts(std::string_view text) {
  std::vector<std::string> parts;
  if (text.empty() || text.front() != kFailureMark) return parts;
  text.remove_prefix(1);
  for (;;) {
    size_t end = text.find(kTokenEnd);
    if (end == std::string_view::npos) return parts;
    parts.emplace_back(text.substr(0, end));
    text.remove_prefix(end + 1);
  }
}

int toNumber(std::string_view text) {
  int number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

SqlError resourceFailure(int rc, const std::string& text) {
  switch (rc & 0xff) {
    case SQLITE_BUSY:
      return SqlError(-911, {"2"});
    case SQLITE_LOCKED:
      return SqlError(-913, {text});
    case SQLITE_FULL:
      return SqlError(-968);
    case SQLITE_NOMEM:
      return SqlError(-954);
    case SQLITE_READONLY:
    case SQLITE_PERM:
      return SqlError(-970, {text});
    case SQLITE_INTERRUPT:
      return SqlError(-952);
    case SQLITE_ABORT:
      return SqlError(-501);
    case SQLITE_TOOBIG:
      return SqlError(-101);
    case SQLITE_NOTADB:
    case SQLITE_CANTOPEN:
      return SqlError(-1026, {text});
    case SQLITE_CORRUPT:
      return SqlError(-902, {text});
    default:
      break;
  }
  // SQLite's limits on one statement.
  if (text.starts_with("too many levels of trigger recursion")) return SqlError(-724, {"TRIGGER"});
  if (text.find("maximum depth") != std::string::npos || text.starts_with("too many") ||
      text.starts_with("parser stack overflow")) {
    return SqlError(-101);
  }
  return SqlError(-901, {text});
}

}  // namespace

std::string failureText(const SqlError& error) {
  std::string text(1, kFailureMark);
  text.append(std::to_string(error.sqlcode())).push_back(kTokenEnd);
  text.append(error.sqlstate()).push_back(kTokenEnd);
  for (const std::string& token : error.tokens()) {
    for (char c : token) {
      // SQLite cuts an error text at a zero byte.
      if (c != '\0' && c != kTokenEnd) text.push_back(c);
    }
    text.push_back(kTokenEnd);
  }
  return text;
}

const char* noMemoryText() noexcept {
  static constexpr char kText[] = {kFailureMark, '-', '9', '5', '4',       kTokenEnd, '5',
                                   '7',          '0', '1', '1', kTokenEnd, '\0'};
  return kText;
}

void reportFailure(sqlite3_context* context, const SqlError& error) {
  const std::string text = failureText(error);
  sqlite3_result_error(context, text.data(), static_cast<int>(text.size()));
}

void reportNoMemory(sqlite3_context* context) noexcept {
  sqlite3_result_error(context, noMemoryText(), -1);
}

SqlError failure(sqlite3* database, int rc, const ConstraintReader* constraints) {
  std::string text = sqlite3_errmsg(database);
  std::vector<std::string> parts = failureParts(text);
  if (parts.size() >= 2) {
    return SqlError(toNumber(parts[0]), parts[1], {parts.begin() + 2, parts.end()});
  }
  if (constraints && (rc & 0xff) == SQLITE_CONSTRAINT) return (*constraints)(rc, text);
  return resourceFailure(rc, text);
}

int stepOrWait(sqlite3_stmt* statement) {
  using Clock = std::chrono::steady_clock;
  int rc = sqlite3_step(statement);
  if (rc != SQLITE_BUSY) return rc;
  sqlite3* const database = sqlite3_db_handle(statement);
  if (sqlite3_txn_state(database, "main") != SQLITE_TXN_READ) return rc;
  const Clock::time_point end = Clock::now() + kLockWait;
  while (rc == SQLITE_BUSY && Clock::now() < end) {
    sqlite3_reset(statement);
    std::this_thread::sleep_for(kLockPause);
    rc = sqlite3_step(statement);
  }
  return rc;
}

StatementHandle prepareStatement(sqlite3* database, std::string_view sql, unsigned flags) {
  sqlite3_stmt* statement = nullptr;
  const int rc = sqlite3_prepare_v3(database, sql.data(), static_cast<int>(sql.size()), flags,
                                    &statement, nullptr);
  if (rc != SQLITE_OK) throw failure(database, rc);
  return StatementHandle(statement);
}

void Command::bindText(std::string_view text) {
  const int rc = sqlite3_bind_text(statement_.get(), ++bound_, text.empty() ? "" : text.data(),
                                   static_cast<int>(text.size()), SQLITE_TRANSIENT);
  if (rc != SQLITE_OK) throw failure(database_, rc);
}

void Command::bindNumber(int64_t number) {
  sqlite3_bind_int64(statement_.get(), ++bound_, number);
}

bool Command::step(const ConstraintReader* constraints) {
  int rc = stepOrWait(statement_.get());
  if (rc == SQLITE_ROW) return true;
  if (rc == SQLITE_DONE) return false;
  SqlError error = failure(database_, rc, constraints);
  sqlite3_reset(statement_.get());
  throw error;
}

void Command::run(const ConstraintReader* constraints) {
  while (step(constraints)) {
  }
  reset();
}

void Command::reset() {
  sqlite3_reset(statement_.get());
  bound_ = 0;
}

std::string Command::text(int column) const {
  const auto* bytes = reinterpret_cast<const char*>(sqlite3_column_text(statement_.get(), column));
  if (!bytes) {
    if (isNull(column)) return {};
    throw failure(database_, SQLITE_NOMEM);
  }
  return {bytes, static_cast<size_t>(sqlite3_column_bytes(statement_.get(), column))};
}

int64_t Command::integer(int column) const {
  return sqlite3_column_int64(statement_.get(), column);
}

bool Command::isNull(int column) const {
  return sqlite3_column_type(statement_.get(), column) == SQLITE_NULL;
}

void execute(sqlite3* database, std::string_view sql) {
  Command(database, sql).run();
}

void executeChecked(sqlite3* database, std::string_view sql, const ConstraintReader& constraints) {
  Command(database, sql).run(&constraints);
}

bool isMemory(const std::string& path) {
  return path == ":memory:";
}

namespace {

// An empty file beside another one, in the place of which it is to come. It does not outlive this.
class FileBeside {
 public:
  explicit FileBeside(const std::string& path)
      : path_(path), name_(path + ".new" + std::to_string(::getpid())) {
    remove();  // what a process of the same number has left
    const int file = ::open(name_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    if (file < 0) throw SqlError(-1051, {path});
    ::close(file);
  }
  ~FileBeside() { remove(); }
  FileBeside(const FileBeside&) = delete;
  FileBeside& operator=(const FileBeside&) = delete;

  const std::string& name() const { return name_; }

  void takeFreePlace() {
    if (::link(name_.c_str(), path_.c_str()) == 0) return;
    if (errno == EEXIST) throw SqlError(-1005, {path_});
    // There are file systems without links.
    const int file = ::open(path_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    if (file < 0) throw SqlError(errno == EEXIST ? -1005 : -1051, {path_});
    ::close(file);
    if (::rename(name_.c_str(), path_.c_str()) == 0) return;
    ::unlink(path_.c_str());
    throw SqlError(-1051, {path_});
  }

 private:
  void remove() {
    for (const char* part : {"", "-journal", "-wal", "-shm"}) ::unlink((name_ + part).c_str());
  }

  const std::string path_, name_;
};

void requireFile(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) throw SqlError(-1013, {path});
  if (!S_ISREG(status.st_mode)) throw SqlError(-1026, {path});
}

void setUp(sqlite3* database) {
  struct Option {
    int option;
    int on;
  };
  static constexpr Option kOptions[] = {
      {SQLITE_DBCONFIG_DQS_DML, 0},        {SQLITE_DBCONFIG_DQS_DDL, 0},
      {SQLITE_DBCONFIG_ENABLE_FKEY, 1},    {SQLITE_DBCONFIG_DEFENSIVE, 1},
      {SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0}, {SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION, 0}};
  for (const Option& option : kOptions) {
    sqlite3_db_config(database, option.option, option.on, nullptr);
  }
  sqlite3_extended_result_codes(database, 1);
  sqlite3_busy_timeout(database, static_cast<int>(kLockWait.count()));
  sqlite3_limit(database, SQLITE_LIMIT_ATTACHED, 0);
}

// The first read of the file: it tells whether this is a database.
void requireDatabase(sqlite3* database, const std::string& path) {
  try {
    execute(database, "PRAGMA schema_version");
  } catch (const SqlError& error) {
    if (error.sqlcode() == -1026 || error.sqlcode() == -902) throw SqlError(-1026, {path});
    throw;
  }
}

// For the whole process, so before its first database: in one that has used SQLite already, things
// stay as they are.
void keepStatementJournalsInMemory() {
  [[maybe_unused]] static const int done =
      sqlite3_config(SQLITE_CONFIG_STMTJRNL_SPILL, kStatementJournalBytes);
}

bool mayWrite(const char* path) {
  return ::faccessat(AT_FDCWD, path, W_OK, AT_EACCESS) == 0;
}

// Whether nobody can write the file, so that reading it needs no locks: it lies on a read-only file
// system, or neither it nor its folder may be written by anyone. (The superuser may, and must not
// while it is read.) What another process left in a write-ahead log or a journal cannot be taken
// into account without writing. Both lie beside the file itself, not beside a link to it.
bool isUnchangeable(const std::string& path) {
  const std::string folder = std::filesystem::path(path).parent_path().string();
  const char* const folderName = folder.c_str();
  struct stat file {};
  struct stat around {};
  struct statvfs system {};
  if (::stat(path.c_str(), &file) != 0 || ::stat(folderName, &around) != 0) return false;
  for (const char* part : {"-wal", "-journal"}) {
    struct stat beside {};
    if (::stat((path + part).c_str(), &beside) == 0 && beside.st_size > 0) return false;
  }
  if (::statvfs(path.c_str(), &system) == 0 && (system.f_flag & ST_RDONLY) != 0) return true;
  constexpr mode_t kWritable = S_IWUSR | S_IWGRP | S_IWOTH;
  return ((file.st_mode | around.st_mode) & kWritable) == 0 && !mayWrite(path.c_str()) &&
         !mayWrite(folderName);
}

// A path as a URI, which says that the file does not change.
std::string immutableName(const std::string& path) {
  std::string name = "file:";
  for (const char c : path) {
    const bool plain = c == '/' || std::isalnum(static_cast<unsigned char>(c)) != 0;
    char escaped[4];
    std::snprintf(escaped, sizeof escaped, "%%%02X", static_cast<unsigned char>(c));
    if (plain) {
      name += c;
    } else {
      name += escaped;
    }
  }
  return name + "?immutable=1";
}

// `name`: a path, in which without the URI flag nothing is read as an option.
DatabaseHandle openNamed(const std::string& name, int flags, const std::string& path) {
  sqlite3* database = nullptr;
  const int rc = sqlite3_open_v2(name.c_str(), &database,
                                 flags | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE, nullptr);
  DatabaseHandle handle(database);
  if (rc != SQLITE_OK) throw SqlError(-1026, {path});
  setUp(database);
  return handle;
}

// A database with a write-ahead log wants to make that file beside it, even to be read. This is how
// SQLite fails where it may not: by the permissions of the folder, or the file system's.
bool lacksLog(sqlite3* database) {
  const int rc = sqlite3_extended_errcode(database);
  return rc == SQLITE_READONLY_DIRECTORY || rc == SQLITE_CANTOPEN;
}

DatabaseHandle openExisting(const std::string& path) {
  DatabaseHandle handle = openNamed(path, SQLITE_OPEN_READWRITE, path);
  try {
    requireDatabase(handle.get(), path);
  } catch (const SqlError&) {
    if (isMemory(path) || !lacksLog(handle.get())) throw;
    std::error_code unknown;
    const std::string file = std::filesystem::canonical(path, unknown).string();
    if (unknown || !isUnchangeable(file)) throw;
    handle = openNamed(immutableName(file), SQLITE_OPEN_READONLY | SQLITE_OPEN_URI, path);
    requireDatabase(handle.get(), path);
  }
  return handle;
}

}  // namespace

void createDatabase(const std::string& path, const std::function<void(sqlite3*)>& fill) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) == 0) throw SqlError(-1005, {path});
  FileBeside file(path);
  {
    const DatabaseHandle database = openDatabase(file.name());
    fill(database.get());
    execute(database.get(), "PRAGMA journal_mode=WAL");
  }
  file.takeFreePlace();
}

DatabaseHandle openDatabase(const std::string& path) {
  keepStatementJournalsInMemory();
  if (!isMemory(path)) requireFile(path);
  DatabaseHandle handle = openExisting(path);
  sqlite3* const database = handle.get();
  execute(database, "PRAGMA cache_size=" + std::to_string(-kCacheKilobytes));
  execute(database, "PRAGMA recursive_triggers=ON");
  return handle;
}

}  // namespace orv::sqlite
