// The package QRKSUWO: what the library asks of the catalog, of the administrative tables and of
// large-object locators.
#include "src/server_access/server_statements.h"

#include "src/outcome/failure.h"

namespace orvxml {
namespace {

constexpr orv::esql::Section kSections[] = {
    {section::kDefaultSchema, "VALUES CURRENT SCHEMA"},
    {section::kTableExists, "SELECT 1 FROM SYSCAT.TABLES WHERE TABSCHEMA = ? AND TABNAME = ?"},
    {section::kAliasBase,
     "SELECT BASE_TABSCHEMA, BASE_TABNAME, TYPE FROM SYSCAT.TABLES"
     " WHERE TABSCHEMA = ? AND TABNAME = ? AND TYPE = 'A'"},
    {section::kColumnType,
     "SELECT TYPESCHEMA, TYPENAME, LENGTH FROM SYSCAT.COLUMNS"
     " WHERE TABSCHEMA = ? AND TABNAME = ? AND COLNAME = ?"},
    {section::kTableSpaceExists, "SELECT 1 FROM SYSCAT.TABLESPACES WHERE TBSPACE = ?"},
    {section::kTypeLength,
     "SELECT LENGTH FROM SYSCAT.DATATYPES WHERE TYPESCHEMA = 'ORVXML' AND TYPENAME = ?"},
    {section::kInsertUsage,
     "INSERT INTO ORVXML.XML_USAGE (TABLE_SCHEMA, TABLE_NAME, COL_NAME, DTDID, DAD, ACCESS_MODE,"
     " VALIDATION, DEFAULT_VIEW, TRIGGER_SUFFIX) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?)"},
    {section::kLocatorLength, "VALUES LENGTH(CAST(? AS CLOB(2G)))"},
    {section::kLocatorPiece,
     "VALUES SUBSTR(CAST(? AS CLOB(2G)), CAST(? AS INTEGER), CAST(? AS INTEGER))"},
    {section::kLocatorValue, "VALUES CAST(? AS CLOB(2G))"},
};

}  // namespace

constexpr orv::esql::SectionsToken kToken = orv::esql::tokenOf(kSections);
const orv::esql::Module kQrksuwo = {"QRKSUWO", kToken.text, kSections};

sqlca runSection(const char* name, std::initializer_list<orv::esql::HostVariable> input,
                 std::initializer_list<orv::esql::HostVariable> output) {
  sqlca area{};
  orv::esql::execute(kQrksuwo, name, orv::esql::Variables(input.begin(), input.size()),
                     orv::esql::Variables(output.begin(), output.size()), area);
  return area;
}

orv::SqlFileReference referToFile(const char* name, uint32_t options, uint32_t length) {
  orv::SqlFileReference file{};
  const std::string_view text(name);
  if (text.size() > sizeof file.name) throw Failure(Msg::QRKG000E, name);
  file.name_length = static_cast<uint32_t>(text.size());
  file.data_length = length;
  file.file_options = options;
  text.copy(file.name, text.size());
  return file;
}

}  // namespace orvxml
