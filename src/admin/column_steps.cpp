#include "src/admin/column_steps.h"

#include <cstdlib>
#include <memory>
#include <vector>

#include "orvxml/buffer.h"
#include "orvxml/code_pages.h"
#include "orvxml/packages.h"
#include "orvxml/trace.h"
#include "orvxml/utilities.h"
#include "src/admin/column_statements.h"
#include "src/admin/trigger_texts.h"
#include "src/outcome/failure.h"
#include "src/server_access/server_statements.h"
#include "src/text/sql_scanner.h"

namespace orvxml {

namespace {

constexpr int kLocationSize = 1001;  // bytes of a schema location, terminator included

// A column name of the catalog, fetched and dropped.
struct CatalogName {
  char text[kColumnSize] = "";
  orv::esql::HostVariable output() { return orv::esql::stringVariable(text, sizeof text); }
};

// Runs a definition: any SQLCODE but 0 is a failure.
void runDefinition(const std::string& text, Msg failure, const char* argument = "") {
  if (text.size() > kMaxStatementBytes) throw Failure(Msg::QRKQ038E, text);
  const sqlca area = define(text);
  if (area.sqlcode != 0) throw Failure::ofServer(area, failure, argument);
}

// A failed query of the catalog.
Failure queryFailure(QrkStruct* ctx, const sqlca& area) {
  if (area.sqlcode != kPackageNotBound) return Failure::ofServer(area, Msg::QRKA024E);
  QRK_TRACE(ctx, "Database not bound missing package(s)...");
  return Failure::ofServer(area, Msg::QRKA073E);
}

void checkSideTableType(QrkStruct* ctx, const side_column& column) {
  if (!typeBegins(column.type, "graphic") && !typeBegins(column.type, "VARG")) return;
  QRK_TRACE(ctx, "%s type is not supported as side table  column type", column.type);
  throw Failure(Msg::QRKG005E);
}

// What the validation triggers ask: of the DTD, which goes into a file of its own, or of the
// schema.
std::string validationCheck(QrkStruct* ctx, const dad& model) {
  if (model.isSchema) {
    char location[kLocationSize];
    if (QRK_wcstombsFunction(ctx, location, schemaLocation(model), sizeof location) < 0) {
      throw Failure(Msg::QRKG017E, "schema location", buildStamp(), moduleOf(SourcePlace::here()),
                    __LINE__);
    }
    return schemaCheckText(model, location);
  }
  const std::unique_ptr<char, FreeMemory> dtdFile(qrk_tempFilename(ctx));
  if (!dtdFile) throw Failure(Msg::QRKC012E);
  return dtdCheckText(model, dtdFile.get());
}

// The text that a validation trigger signals.
std::string rejectionText(QrkStruct* ctx) {
  char text[kMessageSize];
  const int length = qrkSprint(ctx, text, static_cast<int>(Msg::QRKD000E));
  return std::string(text, static_cast<size_t>(length));
}

std::vector<std::string> fetchColumns(QrkStruct* ctx, const char* schema, const char* table) {
  std::vector<std::string> columns;
  char query[kCatalogQuerySize];
  qrkBuildSelectStmt(ctx, query, kColumnNames, kFromColumns, kOfTable);
  sqlca area{};
  orv::esql::Statement statement(kQrkcol);
  statement.prepare(query, area);
  orv::esql::Cursor cursor(statement);
  const orv::esql::HostVariable input[] = {textInput(schema), textInput(table)};
  if (area.sqlcode >= 0) cursor.open(input, area);
  while (area.sqlcode == 0) {
    CatalogName name;
    const orv::esql::HostVariable output = name.output();
    cursor.fetch({&output, 1}, area);
    if (area.sqlcode == 0) columns.emplace_back(name.text);
  }
  if (area.sqlcode != kNoRow) throw Failure::ofServer(area, Msg::QRKA020E, table);
  return columns;
}

}  // namespace

void splitTableName(QrkStruct* ctx, const char* tableName, ColumnNames& names) {
  char schema[kSchemaSize], table[kTableSize];
  const int rc = qrkParseQualTbl(ctx, tableName, schema, sizeof schema, table, sizeof table);
  const bool fits = std::strlen(tableName) < sizeof dad::tableName;
  if (rc == kNameTooLong || (rc == 0 && !fits)) throw Failure(Msg::QRKQ031E);
  if (rc != 0) throw Failure(Msg::QRKA016E, tableName);
  for (int i = 0; i < kNameAttempts && !*schema; ++i) {
    const sqlca area = fetchDefaultSchema(schema, sizeof schema);
    if (area.sqlcode < 0) throw queryFailure(ctx, area);
  }
  names.schema = schema;
  names.table = table;
}

std::string parseColumnName(QrkStruct* ctx, const char* tableName, const char* columnName) {
  char column[kColumnSize];
  if (qrkParseCol(ctx, columnName, column, sizeof column) != 0) {
    throw Failure(Msg::QRKA017E, columnName, tableName);
  }
  return column;
}

void check_table(QrkStruct* ctx, const char* schema, const char* table) {
  char query[kCatalogQuerySize];
  CatalogName name;
  qrkBuildSelectStmt(ctx, query, kColumnNames, kFromColumns, kOfTable);
  const sqlca area = fetchRow(query, {textInput(schema), textInput(table)}, {name.output()});
  if (area.sqlcode == kNoRow) throw Failure(Msg::QRKA016E, table);
  if (area.sqlcode < 0) throw queryFailure(ctx, area);
}

bool hasColumn(QrkStruct* ctx, const char* schema, const char* table, const char* column) {
  char query[kCatalogQuerySize];
  CatalogName name;
  qrkBuildSelectStmt(ctx, query, kColumnNames, kFromColumns, kThisColumn);
  const sqlca area =
      fetchRow(query, {textInput(schema), textInput(table), textInput(column)}, {name.output()});
  if (area.sqlcode < 0) throw queryFailure(ctx, area);
  return area.sqlcode != kNoRow;
}

void check_column(QrkStruct* ctx, const char* schema, const char* table, const char* column) {
  if (!hasColumn(ctx, schema, table, column)) throw Failure(Msg::QRKA017E, column, table);
}

void createSidetables(QrkStruct* ctx, const dad& model, const char* rootid,
                      const char* rootidDefinition, const char* tableSpace) {
  for (const side_table* table = model.sideTables; table; table = table->next) {
    for (const side_column* column = table->columns; column; column = column->next) {
      checkSideTableType(ctx, *column);
    }
    const std::string text = sideTableText(*table, rootid, rootidDefinition, tableSpace);
    if (text.size() > kMaxStatementBytes) throw Failure(Msg::QRKQ038E, text);
    const sqlca area = define(text);
    if (area.sqlcode >= 0) continue;
    Failure failure = Failure::ofServer(area, Msg::QRKA046E, table->name);
    failure.atElement(FailureText::kMapping, table->element);
    throw failure;
  }
}

void rootidTrigger_BIT(const ColumnObjects& of) {
  runDefinition(rootidTriggerText(of.model, of.schema, of.suffix), Msg::QRKA047E);
}

void insertTrigger_AIT(QrkStruct* ctx, const ColumnObjects& of) {
  runDefinition(insertTriggerText(ctx, of.model, of.schema, of.suffix, of.rootid), Msg::QRKA048E);
}

void deleteTrigger_ADT(const ColumnObjects& of) {
  runDefinition(deleteTriggerText(of.model, of.schema, of.suffix, of.rootid), Msg::QRKA049E);
}

void updateTrigger_AUT(QrkStruct* ctx, const ColumnObjects& of) {
  runDefinition(updateTriggerText(ctx, of.model, of.schema, of.suffix, of.rootid), Msg::QRKA050E);
}

void validationTrigger_VBIT(QrkStruct* ctx, const ColumnObjects& of) {
  const std::string check = validationCheck(ctx, of.model);
  runDefinition(
      insertValidationText(of.model, of.schema, of.suffix, check, rejectionText(ctx).c_str()),
      Msg::QRKA053E);
}

void validationTrigger_VBUT(QrkStruct* ctx, const ColumnObjects& of) {
  const std::string check = validationCheck(ctx, of.model);
  runDefinition(
      updateValidationText(of.model, of.schema, of.suffix, check, rejectionText(ctx).c_str()),
      of.model.isSchema ? Msg::QRKA053E : Msg::QRKA054E);
}

void createDefaultView(QrkStruct* ctx, const ColumnObjects& of, const char* table,
                       const char* viewName) {
  const std::vector<std::string> columns = fetchColumns(ctx, of.schema, table);
  runDefinition(defaultViewText(of.model, viewName, of.schema, table, of.rootid, columns),
                Msg::QRKA021E, viewName);
}

}  // namespace orvxml
