// What the library asks the server's catalog and the administrative tables.
#pragma once

#include <string>

#include "orvxml/buffer.h"
#include "orvxml/context.h"

namespace orvxml {

// Whether there is a table of this name; an empty schema is the default schema. QRKA073E when the
// package is not bound, an internal error with the server's words on a failing query.
bool qrkTableExists(QrkStruct* ctx, const char* schema, const char* table);

struct CatalogType {
  std::string schema;  // empty for built-in types
  std::string name;
  long length = 0;
};
// The type of a column. QRKQ021E when there is no such column, an internal error on a failing query
// and for a name that the catalog cuts.
CatalogType qrkGetCatalogColumnType(QrkStruct* ctx, const char* schema, const char* table,
                                    const char* column);
// Gives an upper-cased type name the name that the catalog has for it, in place: `type` has room
// for 10 bytes. `length` is the length that was written with it.
void qrkConvertTypename(QrkStruct* ctx, char* type, int length);
// The first column of a table; an empty schema is that of the user's name, which need not be the
// current one. QRKA016E when there is no such table, QRKA024E on a failing query.
std::string qrkGetColumnName(QrkStruct* ctx, const char* schema, const char* table);
// False when there is no such DTD. `dtd` is acquired here and released by the caller, also after a
// failure, whose code is always that of QRKA010E.
bool qrkGetDtdFileFromDtdId(QrkStruct* ctx, QrkOutbuf* dtd, const char* dtdid);
// Of the interface, for schemas that a database registers; mappings name theirs by their location.
// 0, or the code of QRKQ060E for every failure.
int qrkGetSchemaFromSchemaId(QrkStruct* ctx, QrkOutbuf* schema, const char* schemaid, char* msg);
// `stmt` with " IN " and a table space: the given one, or else the fixed one of DTD_REF (which 1)
// or XML_USAGE (2) when the database has it.
std::string appendTableSpaceClause(QrkStruct* ctx, const char* stmt, int which,
                                   const char* tableSpace, const short* tableSpaceInd);

// A row of ORVXML.XML_USAGE. Texts that are null are the empty text but where they may be NULL.
struct UsageRow {
  const char* schema;
  const char* table;
  const char* column;
  const char* dtdid;  // null: NULL
  QrkOutbuf* dad;
  int accessMode;
  int validation;
  const char* defaultView;  // null: NULL
  const char* suffix;
};
void qrkInsertXMLUsageBuf(QrkStruct* ctx, const UsageRow& row);  // QRKA011E
// Drops the document types that enabling made; types of other lengths stay. A failure does not
// keep it from dropping the rest. What the server said to the first failure; SQLCODE 0: all well.
sqlca qrkDropSchema(QrkStruct* ctx);
// Of the interface: 1 when constants of the type stand in quotes (when they are graphic ones).
// Nothing here calls them: values go to the server by markers.
int isQuotedSQLType(const char* type);
int isGraphicQuotedSQLType(const char* type);

// Entry points of the interface that have nothing to do on this platform; only decomposition calls
// the first.
void qrkCreateIndex(QrkStruct* ctx, const char* indexText);
void qrkCreateAuxTable(QrkStruct* ctx);
void qrkDropAuxTable(QrkStruct* ctx);
int qrkCreateManyrows(QrkStruct* ctx);
int qrkDropManyrows(QrkStruct* ctx);
int qrkCreateSchema(QrkStruct* ctx);

}  // namespace orvxml
