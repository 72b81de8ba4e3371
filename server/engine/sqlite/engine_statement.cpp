#include "server/engine/sqlite/engine_statement.h"

#include <chrono>
#include <thread>

#include "server/engine/sqlite/connection.h"
#include "server/sql/numeral.h"
#include "server/sql/value_conversion.h"

namespace orv::sqlite {
namespace {

constexpr std::chrono::milliseconds kLockWait{5000};
constexpr std::chrono::milliseconds kLockPause{10};

// Whether the value is one of the type as it stands. Another program may have stored anything.
bool fits(const ValueView& value, const SqlType& type) {
  switch (value.kind) {
    case ValueView::Kind::Integer:
      return type.kind >= TypeKind::SmallInt && type.kind <= TypeKind::BigInt;
    case ValueView::Kind::Double:
      return type.kind == TypeKind::Real || type.kind == TypeKind::Double;
    case ValueView::Kind::Text:
      if (type.kind == TypeKind::Decimal) {
        return isCanonicalDecimal(value.text, static_cast<int>(type.length), type.scale);
      }
      return !isBinary(type.kind) && !isNumeric(type.kind);
    default:
      return isBinary(type.kind);
  }
}

}  // namespace

SqliteStatement::Handle SqliteStatement::prepared(sqlite3* database, const std::string& sql) {
  sqlite3_stmt* statement = nullptr;
  int rc = sqlite3_prepare_v3(database, sql.data(), static_cast<int>(sql.size()),
                              SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
  Handle handle(statement);
  if (rc != SQLITE_OK) throw failure(database, rc);
  return handle;
}

SqliteStatement::SqliteStatement(sqlite3* database, Environment& environment, Program program,
                                 ConstraintNames constraints)
    : database_(database),
      environment_(environment),
      statement_(prepared(database, program.sql)),
      requiredMarkers_(std::move(program.requiredMarkers)),
      nullMarkers_(requiredMarkers_.size(), true),
      columns_(std::move(program.columns)),
      converted_(columns_.size()),
      constraints_(std::move(constraints)),
      reads_(sqlite3_column_count(statement_.get()) > 0) {
  if (program.condition.empty()) return;
  condition_ = prepared(database, program.condition);
  conditionMarkers_ = sqlite3_bind_parameter_count(condition_.get());
}

void SqliteStatement::bind(int marker, const ValueView& value) {
  for (size_t i = 0; i < requiredMarkers_.size(); ++i) {
    if (requiredMarkers_[i] == marker) nullMarkers_[i] = value.kind == ValueView::Kind::Null;
  }
  int number = marker + 1;
  bindTo(statement_.get(), number, value);
  if (number <= conditionMarkers_) bindTo(condition_.get(), number, value);
}

void SqliteStatement::bindTo(sqlite3_stmt* statement, int number, const ValueView& value) {
  int rc = SQLITE_OK;
  // A null pointer would bind NULL, which an empty text is not.
  const char* bytes = value.text.data() ? value.text.data() : "";
  switch (value.kind) {
    case ValueView::Kind::Null:
      rc = sqlite3_bind_null(statement, number);
      break;
    case ValueView::Kind::Integer:
      rc = sqlite3_bind_int64(statement, number, value.integer);
      break;
    case ValueView::Kind::Double:
      rc = sqlite3_bind_double(statement, number, value.number);
      break;
    case ValueView::Kind::Text:
      rc = sqlite3_bind_text64(statement, number, bytes, value.text.size(), SQLITE_STATIC,
                               SQLITE_UTF8);
      break;
    case ValueView::Kind::Blob:
      rc = sqlite3_bind_blob64(statement, number, bytes, value.text.size(), SQLITE_STATIC);
      break;
  }
  if (rc != SQLITE_OK) throw failure(database_, rc);
}

void SqliteStatement::requireValues() {
  for (size_t i = 0; i < requiredMarkers_.size(); ++i) {
    if (!nullMarkers_[i]) continue;
    sqlite3_reset(statement_.get());
    throw constraints_.nullKeyFailure();
  }
}

bool SqliteStatement::conditionHolds() {
  int rc = sqlite3_step(condition_.get());
  if (rc != SQLITE_ROW && rc != SQLITE_DONE) fail(rc);
  sqlite3_reset(condition_.get());
  return rc == SQLITE_ROW;
}

bool SqliteStatement::step() {
  if (condition_ && !conditionHolds()) {
    changes_ = 0;
    return false;
  }
  if (!requiredMarkers_.empty()) requireValues();
  int rc = sqlite3_step(statement_.get());
  if (rc == SQLITE_ROW) return true;
  if (rc == SQLITE_BUSY && sqlite3_txn_state(database_, "main") == SQLITE_TXN_READ) {
    rc = waitForLock();
  }
  if (rc == SQLITE_ROW) return true;
  if (rc != SQLITE_DONE) fail(rc);
  changes_ = reads_ ? 0 : sqlite3_changes64(database_);
  return false;
}

// SQLite itself does not wait when the unit of work has read already, lest two wait for each other:
// here the wait is bounded.
int SqliteStatement::waitForLock() {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point end = Clock::now() + kLockWait;
  int rc = SQLITE_BUSY;
  while (rc == SQLITE_BUSY && Clock::now() < end) {
    sqlite3_reset(statement_.get());
    std::this_thread::sleep_for(kLockPause);
    rc = sqlite3_step(statement_.get());
  }
  return rc;
}

void SqliteStatement::fail(int rc) {
  changes_ = 0;
  ConstraintReader reader = [this](int code, std::string_view text) {
    return constraints_.failure(code, text);
  };
  SqlError error = failure(database_, rc, &reader);
  reset();
  throw error;
}

ValueView SqliteStatement::column(int index) {
  sqlite3_stmt* statement = statement_.get();
  int storageClass = sqlite3_column_type(statement, index);
  ValueView value;
  switch (storageClass) {
    case SQLITE_NULL:
      return value;
    case SQLITE_INTEGER:
      value = ValueView::of(int64_t{sqlite3_column_int64(statement, index)});
      break;
    case SQLITE_FLOAT:
      value = ValueView::of(sqlite3_column_double(statement, index));
      break;
    case SQLITE_TEXT: {
      const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, index));
      value =
          ValueView::ofText({text, static_cast<size_t>(sqlite3_column_bytes(statement, index))});
      break;
    }
    default: {
      const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement, index));
      value = ValueView::ofBlob(
          {bytes ? bytes : "", static_cast<size_t>(sqlite3_column_bytes(statement, index))});
    }
  }
  auto position = static_cast<size_t>(index);
  if (position >= columns_.size() || fits(value, columns_[position])) return value;
  return convertValue(value, columns_[position], environment_.length(), ConversionMode::Cast,
                      converted_[position]);
}

void SqliteStatement::reset() {
  sqlite3_reset(statement_.get());
  if (condition_) sqlite3_reset(condition_.get());
}

}  // namespace orv::sqlite
