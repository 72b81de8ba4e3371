// CREATE and DROP VIEW: a view of SQLite's, and the types of its columns in the catalog.
#pragma once

#include <string>
#include <vector>

#include "server/catalog/catalog_data.h"
#include "server/engine/sqlite/connection/sqlite_connection.h"
#include "server/syntax/ast.h"

namespace orv::sqlite {

void createView(sqlite3* database, const CatalogData& catalog, const std::string& currentSchema,
                const std::vector<std::string>& functionPath, const Statement& statement);
void dropView(sqlite3* database, const Table& view);

// The query of a recorded view as the engine's SQL. Throws what resolving it throws.
std::string compiledView(const CatalogData& data, const View& view, const Catalog& catalog);

}  // namespace orv::sqlite
