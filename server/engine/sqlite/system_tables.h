// The system views as tables that SQLite can read: virtual tables over the cached catalog, without
// any storage.
#pragma once

#include <sqlite3.h>

#include <functional>
#include <memory>

#include "server/catalog/catalog_data.h"

namespace orv::sqlite {

// Gives the catalog's content at the time of a scan.
using CatalogSource = std::function<std::shared_ptr<const CatalogData>()>;

// Registers one module per system view, under its stored name. `source` must outlive the
// connection's statements.
void registerSystemTables(sqlite3* database, const CatalogSource& source);

}  // namespace orv::sqlite
