// The statements of enabling and disabling a column, all under the package QRKCOL: definitions,
// data changes and queries of which the first row counts.
#pragma once

#include <initializer_list>
#include <string>

#include "orv/esql.h"
#include "orvxml/context.h"

namespace orvxml {

inline constexpr size_t kMaxStatementBytes = 65536;

using VariableList = std::initializer_list<orv::esql::HostVariable>;

// EXECUTE IMMEDIATE.
sqlca define(const std::string& text);
sqlca change(const std::string& text, VariableList input);
// SQLCODE 100 when there is no row.
sqlca fetchRow(const std::string& query, VariableList input, VariableList output);
// The default schema of the connection.
sqlca fetchDefaultSchema(char* schema, int size);

// A catalog query from its parts. `buf` holds kCatalogQuerySize bytes.
inline constexpr int kCatalogQuerySize = 256;
enum CatalogWhat : int {
  kCount = 10,
  kColumnNames = 11,
  kColumnNumbers = 12,
  kKeyColumns = 13,
  kTypeAndLength = 14,
  kTypeAndKey = 15,  // with length, scale and position in the key
};
enum CatalogFrom : int { kFromColumns = 1, kFromTables = 2, kFromTriggers = 3 };
enum CatalogWhere : int {
  kOfTable = 16,
  kThisTable = 17,
  kThisColumn = 18,
  kThisTrigger = 19,
};
void qrkBuildSelectStmt(QrkStruct* ctx, char* buf, int what, int from, int where);

}  // namespace orvxml
