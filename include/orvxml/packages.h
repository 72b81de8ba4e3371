// The library's packages: one per module with embedded SQL. Each module's static statements stand
// in one table in its source; the build writes the bind files from the same tables.
#pragma once

#include <span>

#include "orv/esql.h"

namespace orvxml {

extern const orv::esql::Module kQrksuwo;   // catalog and locator statements (server_statements.cpp)
extern const orv::esql::Module kQrkcnuwo;  // connection properties (code_pages.cpp)
extern const orv::esql::Module kQrkrdbi;   // decomposition (decompose/driver.cpp)
extern const orv::esql::Module kQrktab;    // target tables (decompose/target_table.cpp)
extern const orv::esql::Module kQrkcomp;   // composed documents (compose/result_storage.cpp)
extern const orv::esql::Module kQrksqlda;  // describing (compose/descriptor_areas.cpp)
extern const orv::esql::Module kQrkcol;    // columns (admin/column_statements.cpp)
extern const orv::esql::Module kQrkcoll;   // collections (admin/collection.cpp)
extern const orv::esql::Module kQrkdb;     // databases (admin/database.cpp)

// All of them, for the bind files.
std::span<const orv::esql::Module* const> packages();

}  // namespace orvxml
