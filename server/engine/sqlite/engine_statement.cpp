// Runs what the renderer wrote: one statement of SQLite's, before it the query of its condition
// where there is one, and after it the judgement of what came back, since a file may hold values
// that other programs have stored.
#include "server/engine/sqlite/engine_statement.h"

#include "server/engine/sqlite/functions/foreign_value.h"
#include "server/values/numeral.h"
#include "server/values/value_conversion.h"

namespace orv::sqlite {
namespace {

// While it lives, cursors give the uses of table functions to the statement that runs: a function
// may run statements of its own within it.
class Running {
 public:
  Running(Environment& environment, std::shared_ptr<IdleTableUses> uses)
      : environment_(environment),
        outer_(std::exchange(environment.idleTableUses, std::move(uses))) {}
  ~Running() { environment_.idleTableUses = std::move(outer_); }
  Running(const Running&) = delete;
  Running& operator=(const Running&) = delete;

 private:
  Environment& environment_;
  std::shared_ptr<IdleTableUses> outer_;
};

// Of a column of SMALLINT or INTEGER.
bool isInRange(int64_t value, TypeKind kind) {
  return kind == TypeKind::SmallInt ? value == static_cast<int16_t>(value)
                                    : value == static_cast<int32_t>(value);
}

}  // namespace

SqliteStatement::SqliteStatement(sqlite3* database, Environment& environment, Program program,
                                 ConstraintNames constraints)
    : database_(database),
      environment_(environment),
      idleTableUses_(std::make_shared<IdleTableUses>()),
      statement_(prepareStatement(database, program.sql, SQLITE_PREPARE_PERSISTENT)),
      requiredMarkers_(std::move(program.requiredMarkers)),
      nullMarkers_(requiredMarkers_.size(), true),
      columns_(std::move(program.columns)),
      converted_(columns_.size()),
      constraints_(std::move(constraints)),
      reads_(sqlite3_column_count(statement_.get()) > 0) {
  forms_.reserve(columns_.size());
  for (const Column& column : columns_) forms_.push_back(formOf(column));
  if (program.condition.empty()) return;
  condition_ = prepareStatement(database, program.condition, SQLITE_PREPARE_PERSISTENT);
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
  const bool found = run();
  if (!found) idleTableUses_->clear();
  return found;
}

bool SqliteStatement::run() {
  const Running running(environment_, idleTableUses_);
  if (condition_ && !conditionHolds()) {
    changes_ = 0;
    return false;
  }
  if (!requiredMarkers_.empty()) requireValues();
  int rc = stepOrWait(statement_.get());
  if (rc == SQLITE_ROW) {
    ++row_;
    return true;
  }
  if (rc != SQLITE_DONE) fail(rc);
  changes_ = reads_ ? 0 : sqlite3_changes64(database_);
  return false;
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

SqliteStatement::ColumnForm SqliteStatement::formOf(const Column& column) {
  using Kind = ValueView::Kind;
  const TypeKind kind = column.type.kind;
  if (isInteger(kind)) return {Kind::Integer, column.isForeign && kind != TypeKind::BigInt};
  if (isFloating(kind)) return {Kind::Double};
  if (kind == TypeKind::Decimal) return {Kind::Text, true};
  return {isBinary(kind) ? Kind::Blob : Kind::Text};
}

// Another program may have stored anything: what is no value of the column's type becomes one, or
// fails where that would lose a part of it. The connection belongs to one thread at a time, so that
// the value may be read where it is, without the lock that each of the column functions takes.
ValueView SqliteStatement::column(int index) {
  ValueView value = viewOf(sqlite3_column_value(statement_.get(), index));
  const auto position = static_cast<size_t>(index);
  if (value.kind == ValueView::Kind::Null || position >= columns_.size()) return value;
  const ColumnForm& form = forms_[position];
  if (value.kind == form.kind && (!form.examined || isOfType(value, columns_[position].type))) {
    return value;
  }
  return converted(value, position);
}

bool SqliteStatement::isOfType(const ValueView& value, const SqlType& type) {
  if (isInteger(type.kind)) return isInRange(value.integer, type.kind);
  return isCanonicalDecimal(value.text, static_cast<int>(type.length), type.scale);
}

ValueView SqliteStatement::converted(const ValueView& value, size_t position) {
  const Column& column = columns_[position];
  std::string& storage = converted_[position];
  const TextLength& length = environment_.length();
  try {
    if (column.isForeign) return foreignValue(value, column.type, length, storage);
    return convertValue(value, column.type, length, ConversionMode::Assignment, storage);
  } catch (const SqlError& error) {
    throw atPlace(error, column.name + ", row " + std::to_string(row_));
  }
}

void SqliteStatement::reset() {
  row_ = 0;
  sqlite3_reset(statement_.get());
  if (condition_) sqlite3_reset(condition_.get());
  idleTableUses_->clear();
}

}  // namespace orv::sqlite
