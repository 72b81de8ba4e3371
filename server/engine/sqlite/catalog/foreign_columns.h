// The columns of other programs' files. SQLite lets any value into any column, so that a
// declaration is only where the search for a column's type begins: where values among the first
// rows are none of that type, or would lose a part as one, the column has the nearest wider type
// that holds them.
#pragma once

#include <sqlite3.h>

#include <map>
#include <string>
#include <string_view>

#include "server/resolve/catalog.h"

namespace orv::sqlite {

// The type of a column by its declaration alone. Lengths are no promises there, so fixed ones
// become varying. TEXT, as which such files declare whatever is text, is the longest VARCHAR, which
// compares, sorts and is a key, but takes texts of any length.
SqlType foreignType(std::string_view declared);

// Whether SQLite keeps numbers as numbers in a column that is so declared.
bool keepsNumbers(std::string_view declared);

// Chooses the types of columns. What was chosen once holds for as long as this object lives, so
// that nothing that was compiled before means something else after a change of the catalog.
class ForeignColumns {
 public:
  // Of a table, not of a view: the first rows of a view may cost as much as all.
  void choose(sqlite3* database, Table& table);

 private:
  std::map<std::string, SqlType> chosen_;  // by table, column and declared type
};

}  // namespace orv::sqlite
