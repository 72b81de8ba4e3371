// What the library asks the server's catalog and the administrative tables.
#pragma once

#include "orvxml/buffer.h"
#include "orvxml/context.h"

namespace orvxml {

// Sets `*exists` to 1 when there is a table of this name; an empty schema is the default schema.
// 0, -104 QRKA073E when the package is not bound, -57 on a failing query.
int qrkTableExists(QrkStruct* ctx, const char* schema, const char* table, int* exists, char* msg);
// Type schema (empty for built-in types), type name and length of a column. 0, -81 QRKQ021E when
// there is no such column, -57 on a failing query, -1 when a name does not fit its buffer.
int qrkGetCatalogColumnType(QrkStruct* ctx, const char* schema, const char* table,
                            const char* column, char* typeSchema, int typeSchemaLen, char* typeName,
                            int typeNameLen, long* length, char* msg);
// Gives an upper-cased type name the name that the catalog has for it, in place: `type` has room
// for 10 bytes. `length` is the length that was written with it.
void qrkConvertTypename(QrkStruct* ctx, char* type, int length);
// The first column of a table into `column` (kColumnSize bytes); an empty schema is that of the
// user's name, which need not be the current one. 0, or the code, also in `*rc`:
// -11 QRKA016E when there is no such table, -18 QRKA024E on a failing query.
int qrkGetColumnName(QrkStruct* ctx, const char* schema, const char* table, char* column, int* rc,
                     char* msg);
// `dtd` is acquired here and released by the caller, also after a failure. 0, or -5 / -140, the
// code of every failure; `*isUnknown` tells whether there is no such DTD, or whether the lookup
// failed.
int qrkGetDtdFileFromDtdId(QrkStruct* ctx, QrkOutbuf* dtd, const char* dtdid, char* msg,
                           bool* isUnknown = nullptr);
// Of the interface, for schemas that a database registers; mappings name theirs by their location.
int qrkGetSchemaFromSchemaId(QrkStruct* ctx, QrkOutbuf* schema, const char* schemaid, char* msg);
// `out` becomes `stmt`, with " IN " and a table space: the given one, or else the fixed one of
// DTD_REF (which 1) or XML_USAGE (2) when the database has it. 0, or the code, also in `*rc`.
int appendTableSpaceClause(QrkStruct* ctx, std::string* out, const char* stmt, int which,
                           const char* tableSpace, short* tableSpaceInd, int* rc, char* msg);
// Negative indicators: null. 0, or the code, also in `*rc`: -6 QRKA011E.
int qrkInsertXMLUsageBuf(QrkStruct* ctx, const char* schema, const char* table, const char* column,
                         const char* dtdid, short dtdidInd, QrkOutbuf* dad, int access_mode,
                         int validation, const char* defaultView, short defaultViewInd,
                         const char* suffix, int* rc, char* msg);
// Drops the document types that enabling made; types of other lengths stay. A failure does not
// keep it from dropping the rest. 0, or the SQLCODE of the first failure, which then stands in
// `*failure`; `msg` has the server's text and QRKA007E without a database name.
int qrkDropSchema(QrkStruct* ctx, char* msg, sqlca* failure = nullptr);
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
