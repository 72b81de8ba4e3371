#include "src/admin/column_steps.h"

#include <cstdlib>
#include <memory>
#include <vector>

#include "orvxml/buffer.h"
#include "orvxml/code_pages.h"
#include "orvxml/notices.h"
#include "orvxml/packages.h"
#include "orvxml/trace.h"
#include "orvxml/utilities.h"
#include "src/admin/column_statements.h"
#include "src/admin/trigger_texts.h"
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

// Runs a definition. Returns 0 or -1: any SQLCODE but 0 is a failure.
int runDefinition(const Report& report, const std::string& text, Msg failure,
                  const char* argument = "") {
  if (text.size() > kMaxStatementBytes) return failed(report, Msg::QRKQ038E, text);
  const sqlca area = define(text);
  if (area.sqlcode == 0) return 0;
  failDb(report, area, failure, argument);
  return -1;
}

// A failed query of the catalog.
int failQuery(const Report& report, const sqlca& area) {
  if (area.sqlcode == kPackageNotBound) {
    QRK_TRACE(report.ctx, "Database not bound missing package(s)...");
    failDb(report, area, Msg::QRKA073E);
  } else {
    failDb(report, area, Msg::QRKA024E);
  }
  return -1;
}

int checkSideTableType(const Report& report, const side_column& column) {
  if (!typeBegins(column.type, "graphic") && !typeBegins(column.type, "VARG")) return 0;
  QRK_TRACE(report.ctx, "%s type is not supported as side table  column type", column.type);
  return failed(report, Msg::QRKG005E);
}

// What the validation triggers ask: of the DTD, which goes into a file of its own, or of the
// schema.
int validationCheck(const Report& report, const dad& model, std::string& check) {
  if (model.isSchema) {
    char location[kLocationSize];
    if (QRK_wcstombsFunction(report.ctx, location, schemaLocation(model), sizeof location) < 0) {
      return failed(report, Msg::QRKG017E, "schema location", buildStamp(), kColumnModule,
                    __LINE__);
    }
    check = schemaCheckText(model, location);
    return 0;
  }
  const std::unique_ptr<char, FreeMemory> dtdFile(qrk_tempFilename(report.ctx));
  if (!dtdFile) return failed(report, Msg::QRKC012E);
  check = dtdCheckText(model, dtdFile.get());
  return 0;
}

// The text that a validation trigger signals.
std::string rejectionText(QrkStruct* ctx) {
  char text[kMessageSize];
  const int length = qrkSprint(ctx, text, static_cast<int>(Msg::QRKD000E));
  return std::string(text, static_cast<size_t>(length));
}

int fetchColumns(const Report& report, const char* schema, const char* table,
                 std::vector<std::string>& columns) {
  char query[kCatalogQuerySize];
  qrkBuildSelectStmt(report.ctx, query, kColumnNames, kFromColumns, kOfTable);
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
  if (area.sqlcode == kNoRow) return 0;
  failDb(report, area, Msg::QRKA020E, table);
  return -1;
}

}  // namespace

int splitTableName(const Report& report, const char* tableName, ColumnNames& names) {
  char schema[kSchemaSize], table[kTableSize];
  const int rc = qrkParseQualTbl(report.ctx, tableName, schema, sizeof schema, table, sizeof table);
  const bool fits = std::strlen(tableName) < sizeof dad::tableName;
  if (rc == kNameTooLong || (rc == 0 && !fits)) return fail(report, Msg::QRKQ031E);
  if (rc != 0) return fail(report, Msg::QRKA016E, tableName);
  for (int i = 0; i < kNameAttempts && !*schema; ++i) {
    const sqlca area = fetchDefaultSchema(schema, sizeof schema);
    if (area.sqlcode < 0) {
      failQuery(report, area);
      return codeOf(area.sqlcode == kPackageNotBound ? Msg::QRKA073E : Msg::QRKA024E);
    }
  }
  names.schema = schema;
  names.table = table;
  return 0;
}

int parseColumnName(const Report& report, const char* tableName, const char* columnName,
                    ColumnNames& names) {
  char column[kColumnSize];
  if (qrkParseCol(report.ctx, columnName, column, sizeof column) != 0) {
    return fail(report, Msg::QRKA017E, columnName, tableName);
  }
  names.column = column;
  return 0;
}

int check_table(QrkStruct* ctx, const char* schema, const char* table, int* rc, char* msg) {
  const Report report{ctx, msg, rc};
  char query[kCatalogQuerySize];
  CatalogName name;
  qrkBuildSelectStmt(ctx, query, kColumnNames, kFromColumns, kOfTable);
  const sqlca area = fetchRow(query, {textInput(schema), textInput(table)}, {name.output()});
  if (area.sqlcode == kNoRow) return failed(report, Msg::QRKA016E, table);
  return area.sqlcode < 0 ? failQuery(report, area) : 0;
}

int hasColumn(const Report& report, const char* schema, const char* table, const char* column,
              bool& exists) {
  char query[kCatalogQuerySize];
  CatalogName name;
  qrkBuildSelectStmt(report.ctx, query, kColumnNames, kFromColumns, kThisColumn);
  const sqlca area =
      fetchRow(query, {textInput(schema), textInput(table), textInput(column)}, {name.output()});
  exists = area.sqlcode != kNoRow;
  return area.sqlcode < 0 ? failQuery(report, area) : 0;
}

int check_column(QrkStruct* ctx, const char* schema, const char* table, const char* column, int* rc,
                 char* msg) {
  const Report report{ctx, msg, rc};
  bool exists = false;
  if (hasColumn(report, schema, table, column, exists)) return -1;
  return exists ? 0 : failed(report, Msg::QRKA017E, column, table);
}

int createSidetables(QrkStruct* ctx, const dad* model, const char* /*suffix*/, const char* rootid,
                     const char* rootid_def, const char* tableSpace, int* rc, char* msg) {
  const Report report{ctx, msg, rc};
  for (const side_table* table = model->sideTables; table; table = table->next) {
    for (const side_column* column = table->columns; column; column = column->next) {
      if (checkSideTableType(report, *column)) return -1;
    }
    const std::string text = sideTableText(*table, rootid, rootid_def, tableSpace);
    if (text.size() > kMaxStatementBytes) return failed(report, Msg::QRKQ038E, text);
    const sqlca area = define(text);
    if (area.sqlcode >= 0) continue;
    tellMappingPlace(table->element);
    failDb(report, area, Msg::QRKA046E, table->name);
    return -1;
  }
  return 0;
}

int rootidTrigger_BIT(QrkStruct* ctx, const dad* model, const char* schema, const char* suffix,
                      int* rc, char* msg) {
  return runDefinition({ctx, msg, rc}, rootidTriggerText(*model, schema, suffix), Msg::QRKA047E);
}

int insertTrigger_AIT(QrkStruct* ctx, const dad* model, const char* schema, const char* suffix,
                      const char* rootid, int* rc, char* msg) {
  return runDefinition({ctx, msg, rc}, insertTriggerText(ctx, *model, schema, suffix, rootid),
                       Msg::QRKA048E);
}

int deleteTrigger_ADT(QrkStruct* ctx, const dad* model, const char* schema, const char* suffix,
                      const char* rootid, int* rc, char* msg) {
  return runDefinition({ctx, msg, rc}, deleteTriggerText(*model, schema, suffix, rootid),
                       Msg::QRKA049E);
}

int updateTrigger_AUT(QrkStruct* ctx, const dad* model, const char* schema, const char* suffix,
                      const char* rootid, int* rc, char* msg) {
  return runDefinition({ctx, msg, rc}, updateTriggerText(ctx, *model, schema, suffix, rootid),
                       Msg::QRKA050E);
}

int validationTrigger_VBIT(QrkStruct* ctx, const dad* model, const char* schema, const char* suffix,
                           int* rc, char* msg) {
  const Report report{ctx, msg, rc};
  std::string check;
  if (validationCheck(report, *model, check)) return -1;
  const std::string text =
      insertValidationText(*model, schema, suffix, check, rejectionText(ctx).c_str());
  return runDefinition(report, text, Msg::QRKA053E);
}

int validationTrigger_VBUT(QrkStruct* ctx, const dad* model, const char* schema, const char* suffix,
                           int* rc, char* msg) {
  const Report report{ctx, msg, rc};
  std::string check;
  if (validationCheck(report, *model, check)) return -1;
  const std::string text =
      updateValidationText(*model, schema, suffix, check, rejectionText(ctx).c_str());
  return runDefinition(report, text, model->isSchema ? Msg::QRKA053E : Msg::QRKA054E);
}

int createDefaultView(QrkStruct* ctx, const dad* model, const char* rootid, const char* schema,
                      const char* table, const char* viewName, int* rc, char* msg) {
  const Report report{ctx, msg, rc};
  std::vector<std::string> columns;
  if (fetchColumns(report, schema, table, columns)) return -1;
  const std::string text = defaultViewText(*model, viewName, schema, table, rootid, columns);
  return runDefinition(report, text, Msg::QRKA021E, viewName);
}

}  // namespace orvxml
