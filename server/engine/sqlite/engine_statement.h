// One prepared statement: values in, rows out, without copies on the way.
#pragma once

#include <sqlite3.h>

#include <memory>
#include <vector>

#include "server/engine/engine.h"
#include "server/engine/sqlite/connection/sqlite_connection.h"
#include "server/engine/sqlite/constraint_failure.h"
#include "server/engine/sqlite/functions/engine_functions.h"
#include "server/engine/sqlite/functions/routine_calls.h"

namespace orv::sqlite {

class SqliteStatement : public EngineStatement {
 public:
  // A column of the result.
  struct Column {
    SqlType type;
    std::string name;
    bool isForeign = false;  // it holds what another program has stored
  };
  // The texts of what runs.
  struct Program {
    std::string sql;
    std::string condition;             // a query without whose row nothing is run; may be empty
    std::vector<int> requiredMarkers;  // that may not be null
    std::vector<Column> columns;
  };
  SqliteStatement(sqlite3* database, Environment& environment, Program program,
                  ConstraintNames constraints);

  void bind(int marker, const ValueView& value) override;
  bool step() override;
  ValueView column(int index) override;
  void reset() override;
  int64_t changes() const override { return changes_; }

 private:
  // What a result column's values are when they are stored as their type says.
  struct ColumnForm {
    ValueView::Kind kind;
    bool examined = false;  // not each such value is one of the type
  };
  static ColumnForm formOf(const Column& column);
  static bool isOfType(const ValueView& value, const SqlType& type);
  ValueView converted(const ValueView& value, size_t position);

  void bindTo(sqlite3_stmt* statement, int number, const ValueView& value);
  bool run();
  bool conditionHolds();
  [[noreturn]] void fail(int rc);
  void requireValues();

  sqlite3* database_;
  Environment& environment_;
  std::shared_ptr<IdleTableUses> idleTableUses_;  // of the present run
  StatementHandle statement_;
  StatementHandle condition_;
  int conditionMarkers_ = 0;  // numbers that the condition knows: 1 to this
  std::vector<int> requiredMarkers_;
  std::vector<bool> nullMarkers_;  // parallel to requiredMarkers_
  std::vector<ColumnForm> forms_;  // parallel to columns_
  std::vector<Column> columns_;
  int64_t row_ = 0;                     // the number of the present row, from 1
  std::vector<std::string> converted_;  // values that were not stored in their type's class
  ConstraintNames constraints_;
  bool reads_;
  int64_t changes_ = 0;
};

}  // namespace orv::sqlite
