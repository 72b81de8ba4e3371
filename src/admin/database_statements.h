// The statements that make and remove what an enabled database holds: the schema ORVXML with its
// types, functions, administrative tables and procedures. Each list is run from its first statement
// to its last.
#pragma once

#include <string>
#include <vector>

namespace orvxml {

using StatementList = std::vector<std::string>;

// Indexes in `enableStmt`.
inline constexpr size_t kCreateXmlVarchar = 1;
inline constexpr size_t kCreateXmlClob = 2;
inline constexpr size_t kCreateDtdRef = 77;
inline constexpr size_t kCreateXmlUsage = 82;
inline constexpr size_t kLastExistingOnServer = 7;  // up to here a server may have the objects

StatementList enableStmt();
StatementList disableStmt();
// What a database that supports double-byte data has besides.
StatementList enableStmtDB();
StatementList disableStmtDB();
// Validation against a schema, for columns whose mapping names one.
StatementList enableStmtSchema();
StatementList disableStmtSchema();

}  // namespace orvxml
