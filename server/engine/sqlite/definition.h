// Definitions: what each CREATE, DROP and ALTER does to the file and to our catalog tables.
#pragma once

#include <string>
#include <vector>

#include "server/catalog/catalog_data.h"
#include "server/engine/sqlite/connection/sqlite_connection.h"
#include "server/syntax/ast.h"

namespace orv::sqlite {

// Applies one resolved definition inside the caller's transaction. `catalog` is the content that it
// was resolved with. When it throws, the caller undoes what was done.
void applyDefinition(sqlite3* database, const CatalogData& catalog,
                     const std::string& currentSchema, const std::vector<std::string>& functionPath,
                     const Statement& statement);

}  // namespace orv::sqlite
