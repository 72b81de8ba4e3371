// Queries over the server's catalog and the registered DTDs and schemas.
#include "src/server_access/catalog_queries.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "orvxml/sql_literal.h"
#include "orvxml/trace.h"
#include "orvxml/utilities.h"
#include "src/outcome/edge.h"
#include "src/server_access/locator_owner.h"
#include "src/server_access/locators.h"
#include "src/server_access/server_statements.h"
#include "src/text/sql_scanner.h"

namespace orvxml {
namespace {

constexpr char kModule[] = "qrksuwo";
constexpr size_t kMaxNameBytes = 128;
constexpr int kNoSuchTable = -204;  // SQLCODE
constexpr int kMaxAliasChain = 16;
constexpr char kSystemTypeSchema[] = "SYSNTQ";

using orv::esql::HostVariable;
using orv::esql::integerVariable;
using orv::esql::stringVariable;

// A name as the catalog gives it.
struct Name {
  char text[kTableSize] = "";
  int16_t indicator = 0;

  HostVariable output() { return stringVariable(text, sizeof text, &indicator); }
  bool wasCut() const { return indicator > 0; }
  // Without the blanks that pad it.
  std::string_view view() const {
    const std::string_view all = indicator < 0 ? "" : text;
    return all.substr(0, all.find_last_not_of(' ') + 1);
  }
};

// A failed catalog query about a table.
Failure queryFailure(QrkStruct* ctx, const sqlca& area, const char* schema, const char* table,
                     SourcePlace where = SourcePlace::here()) {
  QRK_TRACE(ctx, "ORV catalog query failed. in_tableName='%s%s%s'", schema, *schema ? "." : "",
            table);
  return Failure::ofServerInternal(area, kModule, where);
}

// Replaces an empty schema by the connection's default schema.
sqlca completeSchema(const char*& schema, Name& defaultSchema) {
  if (!isEmpty(schema)) return {};
  const sqlca area = runSection(section::kDefaultSchema, {}, {defaultSchema.output()});
  defaultSchema.text[defaultSchema.view().size()] = 0;
  schema = defaultSchema.text;
  return area;
}

// The table behind an alias, and behind the alias that this may be; or the table itself.
struct BaseTable {
  std::string schema;
  std::string name;
};

sqlca resolveAlias(QrkStruct* ctx, BaseTable& table) {
  for (int i = 0; i < kMaxAliasChain; ++i) {
    Name baseSchema, baseName;
    char type[2] = "";
    const sqlca area = runSection(
        section::kAliasBase, {textInput(table.schema.c_str()), textInput(table.name.c_str())},
        {baseSchema.output(), baseName.output(), stringVariable(type, sizeof type)});
    if (area.sqlcode == kNoRow) return {};
    if (area.sqlcode != 0) return area;
    QRK_TRACE(ctx, "Alias schema '%s' tbname '%s',baseschema '%s' basetbname '%s' type '%c'",
              table.schema.c_str(), table.name.c_str(), baseSchema.text, baseName.text, type[0]);
    table = {std::string(baseSchema.view()), std::string(baseName.view())};
  }
  return {};
}

// A table of texts that are registered under an id.
struct Registry {
  const char* query;
  Msg notFound;
};

constexpr Registry kDtds = {"SELECT content FROM orvxml.dtd_ref WHERE dtdid=?", Msg::QRKA010E};
constexpr Registry kSchemas = {"SELECT content FROM orvxml.schema_ref WHERE schemaid=?",
                               Msg::QRKQ060E};

// Fetches the first row of a query; 100 when there is none.
sqlca fetchFirst(const char* query, orv::esql::Variables input, const HostVariable& output) {
  sqlca area{};
  orv::esql::Statement statement(kQrksuwo);
  statement.prepare(query, area);
  if (area.sqlcode < 0) return area;
  orv::esql::Cursor cursor(statement);
  cursor.open(input, area);
  if (area.sqlcode >= 0) cursor.fetch(orv::esql::Variables(&output, 1), area);
  return area;
}

// The text registered under `id`, read into `buf`; what the server said. The code of every failure
// is that of "not found".
sqlca findRegistered(const Registry& registry, QrkOutbuf* buf, const char* id,
                     LocatorOwner& locator) {
  *buf = {};
  buf->loctype = QRK_LOC_MEMORY;
  const HostVariable input = textInput(id);
  return fetchFirst(registry.query, orv::esql::Variables(&input, 1),
                    orv::esql::clobLocatorVariable(locator.address()));
}

void readRegistered(QrkStruct* ctx, const Registry& registry, const LocatorOwner& locator,
                    QrkOutbuf* buf) {
  try {
    qrkGetDataFromLocator(ctx, locator.value(), buf);
  } catch (Failure& failure) {
    throw std::move(failure).withCode(codeOf(registry.notFound));
  }
}

}  // namespace

bool qrkTableExists(QrkStruct* ctx, const char* schema, const char* table) {
  if (!schema) schema = "";
  if (std::strlen(schema) > kMaxNameBytes || std::strlen(table) > kMaxNameBytes) return false;
  Name defaultSchema;
  const char* effective = schema;
  int32_t one = 0;
  sqlca area = completeSchema(effective, defaultSchema);
  if (area.sqlcode >= 0) {
    area = runSection(section::kTableExists, {textInput(effective), textInput(table)},
                      {integerVariable(&one)});
  }
  if (area.sqlcode == kPackageNotBound) {
    QRK_TRACE(ctx, "Database not bound missing package(s)...");
    throw Failure::ofServer(area, Msg::QRKA073E);
  }
  if (area.sqlcode < 0) throw queryFailure(ctx, area, schema, table);
  return area.sqlcode != kNoRow;
}

CatalogType qrkGetCatalogColumnType(QrkStruct* ctx, const char* schema, const char* table,
                                    const char* column) {
  if (!schema) schema = "";
  Name defaultSchema, foundSchema, foundName;
  constexpr int kRoom = sizeof foundName.text;
  QRK_TRACE(ctx,
            "Entered. in_tableSchema='%s' in_tableName='%s' in_columnName='%s' in_typeSchemaLen=%d "
            "in_typeNameLen=%d",
            schema, table, column, kRoom, kRoom);
  int32_t length = 0;
  const char* effective = schema;
  BaseTable base;
  sqlca area = completeSchema(effective, defaultSchema);
  if (area.sqlcode >= 0) {
    base = {effective, table};
    area = resolveAlias(ctx, base);
  }
  if (area.sqlcode >= 0) {
    area = runSection(
        section::kColumnType,
        {textInput(base.schema.c_str()), textInput(base.name.c_str()), textInput(column)},
        {foundSchema.output(), foundName.output(), integerVariable(&length)});
  }
  if (area.sqlcode < 0) throw queryFailure(ctx, area, schema, table);
  if (area.sqlcode == kNoRow) {
    const std::string qualified = *schema ? std::string(schema) + '.' + table : table;
    throw Failure(Msg::QRKQ021E, qualified, column);
  }
  if (foundSchema.wasCut() || foundName.wasCut()) throw Failure::internal(kModule).withCode(-1);
  const bool isBuiltIn = foundSchema.view() == kSystemTypeSchema;
  return {std::string(isBuiltIn ? "" : foundSchema.view()), std::string(foundName.view()), length};
}

void qrkConvertTypename(QrkStruct* ctx, char* type, int length) {
  QRK_TRACE(ctx, "Entered, %s(%d)", type, length);
  struct Synonym {
    std::string_view written;
    const char* name;
    int minLength = 0;  // 0: any length
    int maxLength = 0;
  };
  static constexpr Synonym kSynonyms[] = {
      {"INT", "INTEGER"},          {"DEC", "DECIMAL"},       {"NUMERIC", "DECIMAL"},
      {"NUM", "DECIMAL"},          {"FLOAT", "REAL", 1, 24}, {"DOUBLE PRECISION", "DOUBLE"},
      {"FLOAT", "DOUBLE", 25, 53}, {"CHAR", "CHARACTER"},    {"CHARACTER VARYING", "VARCHAR"},
      {"CHAR VARYING", "VARCHAR"},
  };
  for (const Synonym& synonym : kSynonyms) {
    const bool inRange =
        synonym.minLength == 0 || (length >= synonym.minLength && length <= synonym.maxLength);
    if (synonym.written == type && inRange) {
      std::memcpy(type, synonym.name, std::strlen(synonym.name) + 1);
      break;
    }
  }
  QRK_TRACE(ctx, "Exits, %s(%d)", type, length);
}

std::string qrkGetColumnName(QrkStruct* ctx, const char* schema, const char* table) {
  const std::string query =
      "SELECT COLNAME FROM syscat.columns WHERE tabname = " + literalText(table) +
      " AND tabschema = " + (isEmpty(schema) ? "USER" : literalText(schema));
  QRK_TRACE(ctx, "tab_stmt:%s", query.c_str());
  Name found;
  const sqlca area = fetchFirst(query.c_str(), {}, found.output());
  if (area.sqlcode == kNoRow) throw Failure(Msg::QRKA016E, table);
  if (area.sqlcode < 0) {
    QRK_TRACE(ctx, "Error in getting result column name from table name:%s, sqlcode=%d", table,
              area.sqlcode);
    throw Failure::ofServer(area, Msg::QRKA024E);
  }
  if (found.wasCut()) throw Failure::internal(kModule);
  QRK_TRACE(ctx, "result table, colname:%s", found.text);
  return std::string(found.view());
}

bool qrkGetDtdFileFromDtdId(QrkStruct* ctx, QrkOutbuf* dtd, const char* dtdid) {
  LocatorOwner locator;
  const sqlca area = findRegistered(kDtds, dtd, dtdid, locator);
  if (area.sqlcode != 0) {
    QRK_TRACE(ctx, "Error in getting DTD from DTD_REF dtdid string:%s, sqlcode=%d", dtdid,
              area.sqlcode);
  }
  // A database without the table has registered nothing, nor has any an id that the column cannot
  // hold.
  if (area.sqlcode == kNoRow || area.sqlcode == kNoSuchTable || isValueTooLong(area)) return false;
  if (area.sqlcode < 0) throw Failure::ofServer(area, Msg::QRKA010E, dtdid);
  readRegistered(ctx, kDtds, locator, dtd);
  return true;
}

int qrkGetSchemaFromSchemaId(QrkStruct* ctx, QrkOutbuf* schema, const char* schemaid, char* msg) {
  LocatorOwner locator;
  const sqlca area = findRegistered(kSchemas, schema, schemaid, locator);
  if (area.sqlcode != 0) {
    QRK_TRACE(ctx, "Error in getting Schema from Schema_REF schemaid string:%s, sqlcode=%d",
              schemaid, area.sqlcode);
  }
  return atEdge({ctx, msg}, [&] {
    if (area.sqlcode == kNoRow) throw Failure(Msg::QRKQ060E, schemaid);
    if (area.sqlcode < 0) throw Failure::ofServer(area, Msg::QRKQ060E, schemaid);
    readRegistered(ctx, kSchemas, locator, schema);
  });
}

std::string appendTableSpaceClause(QrkStruct* ctx, const char* stmt, int which,
                                   const char* tableSpace, const short* tableSpaceInd) {
  QRK_TRACE(ctx, "Entered SQL stmt = %s index = %d", stmt, which);
  const bool given = !isEmpty(tableSpace) && (!tableSpaceInd || *tableSpaceInd == 0);
  const char* name = tableSpace;
  if (!given) {
    name = which == 1 ? "QRKDTDRF" : "QRKXMLUS";
    QRK_TRACE(ctx, "fixedTblSpace = %s", name);
    int32_t one = 0;
    const sqlca area =
        runSection(section::kTableSpaceExists, {textInput(name)}, {integerVariable(&one)});
    QRK_TRACE(ctx, "sqlca.sqlcode = %d fixedTblSpcExists = %d", area.sqlcode, one);
    if (area.sqlcode == kPackageNotBound) throw Failure::ofServer(area, Msg::QRKA073E);
    if (area.sqlcode < 0) throw Failure::ofServerInternal(area, kModule);
    if (area.sqlcode == kNoRow) name = nullptr;
  }
  return name ? std::string(stmt) + " IN " + name : std::string(stmt);
}

int isQuotedSQLType(const char* type) {
  static constexpr std::string_view kTypes[] = {"CHAR",      "VARCHAR", "DATE",      "TIME",
                                                "TIMESTAMP", "GRAPHIC", "VARGRAPHIC"};
  const std::string_view text = type;
  return std::any_of(std::begin(kTypes), std::end(kTypes),
                     [text](std::string_view name) { return text.starts_with(name); });
}

int isGraphicQuotedSQLType(const char* type) {
  const std::string_view text = type;
  return text.starts_with("GRAPHIC") || text.starts_with("VARGRAPHIC");
}

void qrkCreateIndex(QrkStruct*, const char*) {}
void qrkCreateAuxTable(QrkStruct*) {}
void qrkDropAuxTable(QrkStruct*) {}
int qrkCreateManyrows(QrkStruct*) {
  return 0;
}
int qrkDropManyrows(QrkStruct*) {
  return 0;
}
int qrkCreateSchema(QrkStruct*) {
  return 0;
}

}  // namespace orvxml
