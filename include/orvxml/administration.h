// Administration: databases, columns and collections are enabled and disabled, and what the command
// needs to connect and to bind. The SQLDA forms are registered in the database (parameter style
// ORVDARI) and return 1 to the server; the "_STP" forms take the parameters one by one with 16-bit
// null indicators and return their code; returnMsg holds 1024 bytes and is always terminated.
//
// Nothing is committed, rolled back or undone: after a failure what was already done stays pending
// in the caller's unit of work, which decides.
#pragma once

#include "orvxml/context.h"
#include "orvxml/export.h"
#include "orvxml/procedures.h"

extern "C" {

// ---- Databases. Enabling makes the schema ORVXML with its types, functions, procedures and the
// tables DTD_REF and XML_USAGE. Codes: 0 QRKA006I, 5 QRKA070W already enabled, -60 QRKG004E, the
// SQLCODE of a failing statement with the server's text and QRKA004E.
// SQLDA entries: dbName [, tableSpace, tableSpace2], returnCode, returnMsg.
ORVXML_API int qrkEnableDB(void* reserved1, void* reserved2, sqlda* da, sqlca* ca);
ORVXML_API int qrkEnableDB_STP(char* dbName, int* returnCode, char* returnMsg, short* dbNameInd,
                               short* returnCodeInd, short* returnMsgInd);
ORVXML_API int qrkEnableDB_STP1(char* dbName, char* tableSpace, char* tableSpace2, int* returnCode,
                                char* returnMsg, short* dbNameInd, short* tableSpaceInd,
                                short* tableSpace2Ind, short* returnCodeInd, short* returnMsgInd);
// 0 QRKA036I, 6 QRKA071W not enabled, -60 QRKG004E, an SQLCODE with QRKA007E.
// SQLDA entries: dbName, returnCode, returnMsg.
ORVXML_API int qrkDisableDB(void* reserved1, void* reserved2, sqlda* da, sqlca* ca);
ORVXML_API int qrkDisableDB_STP(char* dbName, int* returnCode, char* returnMsg, short* dbNameInd,
                                short* returnCodeInd, short* returnMsgInd);
// The same for a server without a database name.
ORVXML_API int qrkEnableServer_STP(char* names, char* qualifier, int* returnCode, char* returnMsg,
                                   short* namesInd, short* qualifierInd, short* returnCodeInd,
                                   short* returnMsgInd);
ORVXML_API int qrkDisableServer_STP(int* returnCode, char* returnMsg, short* returnCodeInd,
                                    short* returnMsgInd);

// ---- Columns. Enabling makes the side tables of the mapping `dadBuf`, the triggers that keep them
// and, when it is named, the view over them, and enters the column into ORVXML.XML_USAGE. The names
// are SQL as a statement has them, in the database code page; null or empty tableSpace, defaultView
// and rootID (a single primary key in place of QRKROOT_ID) are none. Codes: 0 QRKA022I, -60
// QRKG004E for a null tableName, columnName or dadBuf, -101 QRKQ032E for a column name of more than
// 30 bytes, else that of the step that failed, with the server's text when a statement did. SQLDA
// entries: dbName, tableName, columnName, dadBuf, tableSpace, defaultView, rootID, returnCode,
// returnMsg.
ORVXML_API int qrkEnableColumn(void* reserved1, void* reserved2, sqlda* da);
ORVXML_API int qrkEnableColumn_STP(const char* tableName, const char* columnName, clob* dadBuf,
                                   char* tableSpace, char* defaultView, const char* rootID,
                                   int* returnCode, char* returnMsg, short* tableNameInd,
                                   short* columnNameInd, short* dadBufInd, short* tableSpaceInd,
                                   short* defaultViewInd, short* rootIDInd, short* returnCodeInd,
                                   short* returnMsgInd);
ORVXML_API int qrkEnableColumn0_STP(const char* dbName, const char* tableName,
                                    const char* columnName, clob* dadBuf, char* tableSpace,
                                    char* defaultView, const char* rootID, int* returnCode,
                                    char* returnMsg, short* dbNameInd, short* tableNameInd,
                                    short* columnNameInd, short* dadBufInd, short* tableSpaceInd,
                                    short* defaultViewInd, short* rootIDInd, short* returnCodeInd,
                                    short* returnMsgInd);
// Disabling drops all of it but the column QRKROOT_ID: 0 QRKA034I, -13 QRKA018E for a column that
// is not enabled, else as above. SQLDA entries: dbName, tableName, columnName, returnCode,
// returnMsg.
ORVXML_API int qrkDisableColumn(void* reserved1, void* reserved2, sqlda* da);
ORVXML_API int qrkDisableColumn_STP(const char* tableName, const char* columnName, int* returnCode,
                                    char* returnMsg, short* tableNameInd, short* columnNameInd,
                                    short* returnCodeInd, short* returnMsgInd);
ORVXML_API int qrkDisableColumn0_STP(const char* dbName, const char* tableName,
                                     const char* columnName, int* returnCode, char* returnMsg,
                                     short* dbNameInd, short* tableNameInd, short* columnNameInd,
                                     short* returnCodeInd, short* returnMsgInd);

// ---- Collections. SQLDA entries: dbName, collectionName, dadBuf, tableSpace, returnCode,
// returnMsg.
ORVXML_API int qrkEnableColl(void* reserved1, void* reserved2, sqlda* da, sqlca* ca);
ORVXML_API int qrkEnableColl_STP(char* dbName, char* collectionName, clob* dadBuf, char* tableSpace,
                                 int* returnCode, char* returnMsg, short* dbNameInd,
                                 short* collectionNameInd, short* dadInd, short* tableSpaceInd,
                                 short* returnCodeInd, short* returnMsgInd);
// SQLDA entries: dbName, collectionName, returnCode, returnMsg.
ORVXML_API int qrkDisableColl(void* reserved1, void* reserved2, sqlda* da, sqlca* ca);
ORVXML_API int qrkDisableColl_STP(char* dbName, char* collectionName, int* returnCode,
                                  char* returnMsg, short* dbNameInd, short* collectionNameInd,
                                  short* returnCodeInd, short* returnMsgInd);

// ---- Connections and packages, for the command. 0, or -1 with the message on standard error too.
ORVXML_API int qrkConnectToDB(orvxml::QrkStruct* ctx, sqlca* ca, const char* dbName,
                              const char* user, const char* password);
ORVXML_API int qrkDisconnectDB(orvxml::QrkStruct* ctx, sqlca* ca);
// `path` has room for 1024 bytes.
ORVXML_API int qrkGetBindDir(orvxml::QrkStruct* ctx, char* path);
ORVXML_API int qrkGetBindCliDir(orvxml::QrkStruct* ctx, char* path);
// Binds the library's packages into the current session's database, once a process: a second call
// with *alreadyBound 1 fails with QRKA072E.
ORVXML_API int autoBind(orvxml::QrkStruct* ctx, char* msg, int* alreadyBound);
}
