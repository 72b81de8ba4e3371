// What CREATE INDEX makes in the file, for stored tables and for declared ones, which differ in
// where else the index is noted.
#pragma once

#include "server/engine/sqlite/connection/sqlite_connection.h"
#include "server/resolve/catalog.h"

namespace orv::sqlite {

// The index that CREATE INDEX describes, without the engine's name for it, and its making there.
Index indexOf(const Statement& statement);
void createStoredIndex(sqlite3* database, const Index& index, const Table& table);

}  // namespace orv::sqlite
