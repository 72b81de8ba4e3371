// Indexes that the engine keeps for itself. A trigger that updates or deletes the rows of a table
// which have in a column what the changed row has would read the whole table each time it fires;
// so such a column has an index for as long as there is such a trigger and no other index or key
// serves. The catalog does not show them.
#pragma once

#include "server/catalog/catalog_data.h"
#include "server/engine/sqlite/connection/sqlite_connection.h"
#include "server/syntax/ast.h"

namespace orv::sqlite {

// Whether the definition may make such indexes necessary or superfluous. `data`: before it.
bool changesSearches(const Statement& definition, const CatalogData& data);

// Makes those that are missing and drops those that nothing needs any more. What a trigger that
// cannot be resolved any more would need is not known and has none.
void keepSearchIndexes(sqlite3* database, const CatalogData& data, const Catalog& catalog);

}  // namespace orv::sqlite
