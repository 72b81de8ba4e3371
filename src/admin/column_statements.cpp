#include "src/admin/column_statements.h"

#include <algorithm>
#include <cstdio>
#include <vector>

#include "orvxml/packages.h"
#include "orvxml/trace.h"

namespace orvxml {

namespace {

constexpr char kDefaultSchemaSection[] = "DEFAULT_SCHEMA";
constexpr orv::esql::Section kSections[] = {{kDefaultSchemaSection, "VALUES CURRENT SCHEMA"}};

orv::esql::Variables variables(VariableList list) {
  return {list.begin(), list.size()};
}

// The pieces of the catalog queries, in the order of their numbers.
constexpr const char* kWhat[] = {
    "SELECT COUNT(*) FROM ",
    "SELECT colname FROM ",
    "SELECT colno FROM ",
    "SELECT KEYCOLUMNS FROM ",
    "SELECT typename, length FROM ",
    "SELECT typename, length,scale, keyseq FROM ",
};
constexpr const char* kFrom[] = {
    "syscat.columns WHERE ",
    "syscat.tables WHERE ",
    "syscat.triggers WHERE ",
};
constexpr const char* kWhere[] = {
    "tabschema = ? AND tabname = ?",
    "tabschema = ? AND tabname = ?",
    "tabschema = ? AND tabname = ? AND colname = ?",
    "TRIGNAME = ?",
};

// Piece `number` of a list that begins with number `first`; nothing for a number outside of it.
template <size_t N>
const char* piece(const char* const (&list)[N], int number, int first) {
  const int index = number - first;
  return index >= 0 && index < static_cast<int>(N) ? list[index] : "";
}

}  // namespace

constexpr orv::esql::SectionsToken kToken = orv::esql::tokenOf(kSections);
const orv::esql::Module kQrkcol = {"QRKCOL", kToken.text, kSections};

sqlca define(const std::string& text) {
  sqlca area{};
  orv::esql::executeImmediate(kQrkcol, text, area);
  return area;
}

sqlca change(const std::string& text, VariableList input) {
  sqlca area{};
  orv::esql::Statement statement(kQrkcol);
  statement.prepare(text, area);
  if (area.sqlcode >= 0) statement.execute(variables(input), area);
  return area;
}

sqlca fetchRow(const std::string& query, VariableList input, VariableList output) {
  sqlca area{};
  orv::esql::Statement statement(kQrkcol);
  statement.prepare(query, area);
  if (area.sqlcode < 0) return area;
  orv::esql::Cursor cursor(statement);
  cursor.open(variables(input), area);
  if (area.sqlcode >= 0) cursor.fetch(variables(output), area);
  return area;
}

sqlca fetchDefaultSchema(char* schema, int size) {
  sqlca area{};
  const orv::esql::HostVariable output = orv::esql::stringVariable(schema, size);
  orv::esql::execute(kQrkcol, kDefaultSchemaSection, {}, {&output, 1}, area);
  return area;
}

void qrkBuildSelectStmt(QrkStruct* ctx, char* buf, int what, int from, int where) {
  std::snprintf(buf, kCatalogQuerySize, "%s%s%s", piece(kWhat, what, kCount),
                piece(kFrom, from, kFromColumns), piece(kWhere, where, kOfTable));
  QRK_TRACE(ctx, "stmt = %s", buf);
}

}  // namespace orvxml
