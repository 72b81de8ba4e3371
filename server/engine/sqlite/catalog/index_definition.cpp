// Stored and declared tables have their indexes from the same text; only who notes the name
// differs.
#include "server/engine/sqlite/catalog/index_definition.h"

#include "server/engine/sqlite/connection/sql_text.h"

namespace orv::sqlite {

Index indexOf(const Statement& statement) {
  const Table& table = *statement.table;
  Index index;
  index.schema = statement.name.resolvedSchema;
  index.name = statement.name.name;
  index.tableSchema = table.schema;
  index.tableName = table.name;
  index.unique = statement.unique;
  index.columns = statement.indexColumns;
  return index;
}

void createStoredIndex(sqlite3* database, const Index& index, const Table& table) {
  SqlText sql;
  sql << "CREATE ";
  if (index.unique) sql << "UNIQUE ";
  sql << "INDEX " << Name{index.storedName} << " ON " << Name{table.storedName} << "(";
  Comma comma;
  for (const auto& [name, descending] : index.columns) {
    sql << comma << Name{table.columns[static_cast<size_t>(table.columnIndex(name))].storedName};
    if (descending) sql << " DESC";
  }
  sql << ")";
  ConstraintReader repeated = [&](int, std::string_view) {
    return SqlError(-673, {table.schema + "." + table.name});
  };
  executeChecked(database, sql.text(), repeated);
}

}  // namespace orv::sqlite
