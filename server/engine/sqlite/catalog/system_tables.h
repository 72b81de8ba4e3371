// The system views as tables that SQLite can read: virtual tables over the cached catalog, without
// any storage.
#pragma once

#include <sqlite3.h>

#include "server/engine/sqlite/functions/engine_functions.h"

namespace orv::sqlite {

// Registers one module per system view, under its stored name. `source` must outlive the
// connection's statements.
void registerSystemTables(sqlite3* database, const CatalogSource& source);

}  // namespace orv::sqlite
