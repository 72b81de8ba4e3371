// CREATE and DROP TRIGGER.
//
// Each recorded trigger is a trigger of SQLite's. SQLite promises no order among those of one
// table, time and event; in fact the one made last fires first, now as after a later opening. So
// all of a group are made anew, last first, when one is added. What sets columns of the new row
// stands in no trigger of SQLite's, but in the statements that change the table: those in the
// bodies of other triggers are compiled again when such a trigger comes or goes.
#pragma once

#include <string>
#include <vector>

#include "server/catalog/catalog_data.h"
#include "server/engine/sqlite/connection/sqlite_connection.h"
#include "server/syntax/ast.h"

namespace orv::sqlite {

// Whether statements that change the trigger's table set columns for it.
bool setsColumns(const TriggerDefinition& trigger);

// The text of SQLite's trigger; empty when there is nothing for one to do.
std::string compiledTrigger(const CatalogData& catalog, const Trigger& recorded, const Table& table,
                            const TriggerDefinition& definition);

void createTrigger(sqlite3* database, const CatalogData& catalog, const std::string& currentSchema,
                   const std::vector<std::string>& functionPath, const Statement& statement);
void dropTrigger(sqlite3* database, const Trigger& trigger);

// Compiles all triggers again. One that cannot be resolved any more stays as it is.
void recompileTriggers(sqlite3* database, const CatalogData& data, const Catalog& catalog);

}  // namespace orv::sqlite
