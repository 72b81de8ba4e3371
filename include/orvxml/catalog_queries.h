// What the library asks the server's catalog and the administrative tables.
#pragma once

#include "orvxml/buffer.h"
#include "orvxml/context.h"

namespace orvxml {

int qrkTableExists(QrkStruct* ctx, const char* schema, const char* table, int* exists, char* msg);
// Type schema (empty for built-in types), type name and length of a column. 0, -81 QRKQ021E when
// there is no such column, -57 on a failing query, -1 when a name does not fit its buffer.
int qrkGetCatalogColumnType(QrkStruct* ctx, const char* schema, const char* table,
                            const char* column, char* typeSchema, int typeSchemaLen, char* typeName,
                            int typeNameLen, long* length, char* msg);
void qrkConvertTypename(QrkStruct* ctx, char* type, int length);
int qrkGetColumnName(QrkStruct* ctx, const char* schema, const char* table, char* column, int* rc,
                     char* msg);
// `dtd` is acquired here and released by the caller, also after a failure. 0, or -5 / -140.
int qrkGetDtdFileFromDtdId(QrkStruct* ctx, QrkOutbuf* dtd, const char* dtdid, char* msg);
int qrkGetSchemaFromSchemaId(QrkStruct* ctx, QrkOutbuf* schema, const char* schemaid, char* msg);
int appendTableSpaceClause(QrkStruct* ctx, std::string* out, const char* stmt, int which,
                           const char* tableSpace, short* tableSpaceInd, int* rc, char* msg);
int qrkInsertXMLUsageBuf(QrkStruct* ctx, const char* schema, const char* table, const char* column,
                         const char* dtdid, short dtdidInd, QrkOutbuf* dad, int access_mode,
                         int validation, const char* defaultView, short defaultViewInd,
                         const char* suffix, int* rc, char* msg);
int qrkDropSchema(QrkStruct* ctx, char* msg);
int isQuotedSQLType(const char* type);
int isGraphicQuotedSQLType(const char* type);

// Entry points that have nothing to do on this platform.
void qrkCreateIndex(QrkStruct* ctx, const char* indexText);
void qrkCreateAuxTable(QrkStruct* ctx);
void qrkDropAuxTable(QrkStruct* ctx);
int qrkCreateManyrows(QrkStruct* ctx);
int qrkDropManyrows(QrkStruct* ctx);
int qrkCreateSchema(QrkStruct* ctx);

}  // namespace orvxml
