// The statements that make and remove what an enabled database holds: the schema ORVXML with its
// types, functions, administrative tables and procedures. Each list is run from its first statement
// to its last.
#pragma once

#include <string>

namespace orvxml {

// One statement: its text, and behind that the attributes that it shares with others of its kind.
struct DatabaseStatement {
  const char* head;
  const char* attributes = "";

  std::string text() const { return std::string(head) + attributes; }
};

// Indexes of the last statements.
inline constexpr int NUM_ENADB_STMT = 110;
inline constexpr int NUM_ENADB_STMT_DB = 16;
inline constexpr int NUM_DISADB_STMT = 99;
inline constexpr int NUM_DISADB_STMT_DB = 16;
inline constexpr int NUM_SCHEMA_STMT = 2;

// Indexes in `enableStmt`.
inline constexpr int kCreateXmlVarchar = 1;
inline constexpr int kCreateXmlClob = 2;
inline constexpr int kCreateDtdRef = 77;
inline constexpr int kCreateXmlUsage = 82;
inline constexpr int kLastExistingOnServer = 7;  // up to here a server may have the objects

extern const DatabaseStatement enableStmt[NUM_ENADB_STMT + 1];
extern const DatabaseStatement disableStmt[NUM_DISADB_STMT + 1];
// What a database that supports double-byte data has besides.
extern const DatabaseStatement enableStmtDB[NUM_ENADB_STMT_DB + 1];
extern const DatabaseStatement disableStmtDB[NUM_DISADB_STMT_DB + 1];
// Validation against a schema, for columns whose mapping names one.
extern const DatabaseStatement enableStmtSchema[NUM_SCHEMA_STMT + 1];
extern const DatabaseStatement disableStmtSchema[NUM_SCHEMA_STMT + 1];

}  // namespace orvxml
