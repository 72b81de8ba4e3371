// One eponymous virtual table for all table functions. Its hidden columns are the function's name
// and the arguments: conditions on them are the call.
#include <span>

#include "server/engine/sqlite/connection/sql_text.h"
#include "server/engine/sqlite/connection/sqlite_connection.h"
#include "server/engine/sqlite/functions/function_support.h"
#include "server/engine/sqlite/functions/routine_calls.h"

namespace orv::sqlite {
namespace {

constexpr int kColumns = static_cast<int>(kMaxTableFunctionColumns);
constexpr int kNameParts = 2;  // schema and specific name, the first hidden columns
constexpr int kHidden = kNameParts + static_cast<int>(kMaxTableFunctionArguments);

struct CallTable : sqlite3_vtab {
  explicit CallTable(const Environment& shared) : sqlite3_vtab{}, environment(shared) {}
  const Environment& environment;
};

class Cursor : public sqlite3_vtab_cursor {
 public:
  explicit Cursor(const Environment& environment)
      : sqlite3_vtab_cursor{}, environment_(environment), idle_(environment.idleTableUses) {}
  ~Cursor() { retire(); }
  Cursor(const Cursor&) = delete;
  Cursor& operator=(const Cursor&) = delete;

  // Opens the function for these values of the hidden columns and goes to its first row.
  void open(std::span<sqlite3_value*> values) {
    closeOpen();
    if (!use_) obtain(values[0], values[1]);
    arguments_.clear();
    for (sqlite3_value* value : values.subspan(kNameParts)) arguments_.push_back(viewOf(value));
    row_ = 0;
    use_->open(arguments_);
    open_ = true;
    next();
  }

  void next() {
    ++row_;
    if (!use_->fetch()) closeOpen();
  }

  bool atEnd() const { return !open_; }
  int64_t row() const { return row_; }

  void column(sqlite3_context* context, size_t index) {
    if (index >= function_->columns.size()) return;
    const ValueView value = use_->column(static_cast<int>(index));
    setResult(context, convertValue(value, function_->columns[index].type, environment_.length(),
                                    ConversionMode::Assignment, storage_));
  }

 private:
  void obtain(sqlite3_value* schema, sqlite3_value* specific) {
    function_ = calledFunction(environment_, schema, specific);
    if (idle_) use_ = idle_->take(*function_);
    if (!use_) use_ = environment_.host->useTable(*function_);
  }

  void closeOpen() {
    if (std::exchange(open_, false)) use_->close();
  }

  // A scan that was left before its end has nobody left to hear of a failure to close it.
  void retire() noexcept {
    try {
      closeOpen();
      if (use_ && idle_) idle_->keep(*function_, std::move(use_));
    } catch (...) {
      use_.reset();
    }
  }

  const Environment& environment_;
  std::shared_ptr<IdleTableUses> idle_;  // of the statement that runs; null: it keeps none
  FunctionPtr function_;
  std::unique_ptr<TableFunctionUse> use_;
  bool open_ = false;
  int64_t row_ = 0;
  std::vector<ValueView> arguments_;
  std::string storage_;
};

int failed(sqlite3_vtab* table, const char* text) {
  sqlite3_free(table->zErrMsg);
  table->zErrMsg = sqlite3_mprintf("%s", text);
  return SQLITE_ERROR;
}

// Runs a step that may throw; what it throws becomes the statement's failure.
template <typename Step>
int guardedStep(sqlite3_vtab* table, Step step) {
  try {
    step();
    return SQLITE_OK;
  } catch (const SqlError& error) {
    return failed(table, failureText(error).c_str());
  } catch (const std::bad_alloc&) {
    return failed(table, noMemoryText());
  }
}

int connect(sqlite3* database, void* environment, int, const char* const*, sqlite3_vtab** table,
            char** text) {
  try {
    SqlText sql;
    sql << "CREATE TABLE x(";
    Comma comma;
    for (int i = 1; i <= kColumns; ++i) sql << comma << "C" << i;
    for (int i = 1; i <= kHidden; ++i) sql << comma << "H" << i << " HIDDEN";
    sql << ")";
    const int rc = sqlite3_declare_vtab(database, sql.text().c_str());
    if (rc == SQLITE_OK) *table = new CallTable(*static_cast<Environment*>(environment));
    sqlite3_vtab_config(database, SQLITE_VTAB_INNOCUOUS);
    return rc;
  } catch (const std::bad_alloc&) {
    *text = sqlite3_mprintf("%s", noMemoryText());
    return SQLITE_ERROR;
  }
}

int disconnect(sqlite3_vtab* table) {
  delete static_cast<CallTable*>(table);
  return SQLITE_OK;
}

// A call has all its arguments or none: the tables that they refer to come before it, and as few
// others as can be.
int bestIndex(sqlite3_vtab*, sqlite3_index_info* info) {
  int given[kHidden];
  std::fill(std::begin(given), std::end(given), -1);
  int count = 0;
  for (int i = 0; i < info->nConstraint; ++i) {
    const auto& constraint = info->aConstraint[i];
    const int hidden = constraint.iColumn - kColumns;
    if (hidden < 0 || constraint.op != SQLITE_INDEX_CONSTRAINT_EQ) continue;
    if (!constraint.usable) return SQLITE_CONSTRAINT;
    given[hidden] = i;
    count = std::max(count, hidden + 1);
  }
  if (count < kNameParts) return SQLITE_CONSTRAINT;
  for (int i = 0; i < count; ++i) {
    info->aConstraintUsage[given[i]].argvIndex = i + 1;
    info->aConstraintUsage[given[i]].omit = 1;
  }
  info->estimatedCost = 1e6;
  info->estimatedRows = 100;
  return SQLITE_OK;
}

int openCursor(sqlite3_vtab* table, sqlite3_vtab_cursor** cursor) {
  *cursor = new (std::nothrow) Cursor(static_cast<CallTable*>(table)->environment);
  return *cursor ? SQLITE_OK : failed(table, noMemoryText());
}

Cursor& of(sqlite3_vtab_cursor* cursor) {
  return *static_cast<Cursor*>(cursor);
}

int closeCursor(sqlite3_vtab_cursor* cursor) {
  delete &of(cursor);
  return SQLITE_OK;
}

int filter(sqlite3_vtab_cursor* cursor, int, const char*, int count, sqlite3_value** values) {
  return guardedStep(cursor->pVtab, [&] { of(cursor).open({values, static_cast<size_t>(count)}); });
}

int next(sqlite3_vtab_cursor* cursor) {
  return guardedStep(cursor->pVtab, [&] { of(cursor).next(); });
}

int atEnd(sqlite3_vtab_cursor* cursor) {
  return of(cursor).atEnd() ? 1 : 0;
}

int column(sqlite3_vtab_cursor* cursor, sqlite3_context* context, int index) {
  try {
    of(cursor).column(context, static_cast<size_t>(index));
  } catch (const SqlError& error) {
    reportFailure(context, error);
  } catch (const std::bad_alloc&) {
    reportNoMemory(context);
  }
  return SQLITE_OK;
}

int rowNumber(sqlite3_vtab_cursor* cursor, sqlite3_int64* number) {
  *number = of(cursor).row();
  return SQLITE_OK;
}

const sqlite3_module& moduleMethods() {
  static const sqlite3_module kMethods = [] {
    sqlite3_module methods{};
    methods.xConnect = connect;
    methods.xDisconnect = disconnect;
    methods.xBestIndex = bestIndex;
    methods.xOpen = openCursor;
    methods.xClose = closeCursor;
    methods.xFilter = filter;
    methods.xNext = next;
    methods.xEof = atEnd;
    methods.xColumn = column;
    methods.xRowid = rowNumber;
    return methods;
  }();
  return kMethods;
}

}  // namespace

void registerTableCalls(sqlite3* database, Environment& environment) {
  const int rc =
      sqlite3_create_module_v2(database, "ORV_TABLE", &moduleMethods(), &environment, nullptr);
  if (rc != SQLITE_OK) throw failure(database, rc);
}

}  // namespace orv::sqlite
