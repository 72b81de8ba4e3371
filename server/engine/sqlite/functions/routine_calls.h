// Calls of registered functions in rendered statements:
//
//   ORV_FUNCTION(schema, specific, arguments...)          a scalar function's value
//   FROM ORV_TABLE(schema, specific, arguments...) AS x   a table function's rows, whose columns
//                                                         are called C1, C2, ...
//
// The arguments are of the parameters' types; what comes out is of the result's or column's type.
// Both may stand in the bodies of triggers. A function is looked up when it is first called in a
// run of the statement. Every reference to a scalar function has one use in a run; the use of a
// table function belongs to a cursor, and goes to the next cursor for the function when a subquery
// opens its cursors anew for each row of the tables around it.
#pragma once

#include <sqlite3.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "server/engine/engine.h"
#include "server/engine/sqlite/functions/engine_functions.h"

namespace orv::sqlite {

// SQLite hands at most 16 conditions to a virtual table without testing them once more, which a
// null would not pass.
inline constexpr size_t kMaxTableFunctionArguments = 14;
inline constexpr size_t kMaxTableFunctionColumns = 255;

// A function of the catalog, which it keeps alive.
using FunctionPtr = std::shared_ptr<const Function>;

// -440 when it is not there any more; -901 without anybody to call functions.
FunctionPtr calledFunction(const Environment& environment, sqlite3_value* schema,
                           sqlite3_value* specific);

// The uses of table functions that no cursor of the running statement holds.
class IdleTableUses {
 public:
  std::unique_ptr<TableFunctionUse> take(const Function& function);  // null: there is none
  void keep(const Function& function, std::unique_ptr<TableFunctionUse> use);
  void clear() { uses_.clear(); }

 private:
  using Name = std::pair<std::string, std::string>;  // schema, specific name
  std::vector<std::pair<Name, std::unique_ptr<TableFunctionUse>>> uses_;
};

void registerScalarCalls(sqlite3* database, Environment& environment);
void registerTableCalls(sqlite3* database, Environment& environment);

}  // namespace orv::sqlite
