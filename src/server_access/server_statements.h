// The static statements of the locators and the catalog queries, by name. Their texts stand in
// server_statements.cpp; the build writes the bind file from them.
#pragma once

#include <cstring>
#include <string_view>

#include "orvxml/context.h"
#include "orvxml/packages.h"

namespace orvxml {

namespace section {
inline constexpr char kDefaultSchema[] = "DEFAULT_SCHEMA";
inline constexpr char kTableExists[] = "TABLE_EXISTS";
inline constexpr char kAliasBase[] = "ALIAS_BASE";
inline constexpr char kColumnType[] = "COLUMN_TYPE";
inline constexpr char kTableSpaceExists[] = "TABLE_SPACE_EXISTS";
inline constexpr char kTypeLength[] = "TYPE_LENGTH";
inline constexpr char kInsertUsage[] = "INSERT_USAGE";
inline constexpr char kLocatorLength[] = "LOCATOR_LENGTH";
inline constexpr char kLocatorPiece[] = "LOCATOR_PIECE";
inline constexpr char kLocatorValue[] = "LOCATOR_VALUE";
}  // namespace section

// SQLCODEs.
inline constexpr int kNoRow = 100;
inline constexpr int kPackageNotBound = -805;

// Whether a statement ended because a column cannot hold the text of a value, a name for example.
inline bool isValueTooLong(const sqlca& area) {
  return std::string_view(area.sqlstate, sizeof area.sqlstate) == "22001";
}

// A terminated text as input; null is the empty text.
inline orv::esql::HostVariable textInput(const char* text, int16_t* indicator = nullptr) {
  if (!text) text = "";
  return orv::esql::stringVariable(const_cast<char*>(text),
                                   static_cast<int32_t>(std::strlen(text)) + 1, indicator);
}

// Runs a section of the package once; a query's only row goes into `output`.
sqlca runSection(const char* name, std::initializer_list<orv::esql::HostVariable> input,
                 std::initializer_list<orv::esql::HostVariable> output = {});

// A reference to the file `name` of the server. QRKG000E for a name that does not fit.
orv::SqlFileReference referToFile(const char* name, uint32_t options, uint32_t length);

}  // namespace orvxml
