// The exported stored procedures. The SQLDA forms are registered in the database (parameter style
// ORVDARI) and return 1 to the server; the "_STP" forms take the parameters one by one with 16-bit
// null indicators and return their code. Nothing is committed or rolled back: the caller's unit of
// work decides. C programs may include this header, too.
#pragma once

#include <stdint.h>

#include "orv/sqlda.h"
#include "orvxml/export.h"

#ifdef __cplusplus
extern "C" {
#else
typedef struct clob clob;
#endif

// A CLOB argument: 32-bit length in bytes and the bytes.
struct clob {
  int32_t length;
  char data[1];
};

// Decomposes one document by the mapping in dadBuf and inserts the rows into the mapped tables,
// inside the caller's unit of work. SQLDA entries: dadBuf, XMLObj, returnCode, returnMsg.
ORVXML_API int qrkShredXML(void* reserved1, void* reserved2, sqlda* da);
// returnMsg holds 1024 bytes and is always terminated. Null DAD or document: QRKG004E.
ORVXML_API int qrkShredXML_STP(clob* dadBuf, clob* XMLObj, int* returnCode, char* returnMsg,
                               short* dadInd, short* docInd, short* returnCodeInd,
                               short* returnMsgInd);
// The same with the mapping of an enabled collection, by its name.
// SQLDA entries: collectionName, XMLObj, returnCode, returnMsg.
ORVXML_API int qrkInsertXML(void* reserved1, void* reserved2, sqlda* da);
ORVXML_API int qrkInsertXML_STP(const char* collectionName, clob* XMLObj, int* returnCode,
                                char* returnMsg, short* nameInd, short* docInd,
                                short* returnCodeInd, short* returnMsgInd);

// ---- Composition: rows become documents, by the mapping in dadBuf (Gen) or that of an enabled
// collection by its name (Retrieve). overrideType 0: no override. Either the documents become rows
// of resultTable, at most maxRows (0: no limit), and numRows counts them; or the first one becomes
// resultDoc, numDocs counts them all, and valid is its validation result, null when it was not
// validated. returnCode 3 with QRKQ003W: maxRows was reached; the rows are there. After a failure
// the counts are 0 and resultDoc and valid are null.
//
// resultDoc must have room for as many bytes as its descriptor declares; for the "_STP" forms that
// are 1048576 bytes behind the length word. A longer document: QRKG017E.

// SQLDA entries: dadBuf or collectionName, resultTable, overrideType, override, maxRows, numRows,
// returnCode, returnMsg. A validation column that is wanted is added to the table.
ORVXML_API int qrkGenXML(void* reserved1, void* reserved2, sqlda* da);
ORVXML_API int qrkRetrieveXML(void* reserved1, void* reserved2, sqlda* da);
// The same with resultColumn and validColumn behind resultTable. Nothing is added to the table; a
// null or blank validColumn means none.
ORVXML_API int qrkGenXML2(void* reserved1, void* reserved2, sqlda* da);
ORVXML_API int qrkRetrieveXML2(void* reserved1, void* reserved2, sqlda* da);
// SQLDA entries: dadBuf or collectionName, overrideType, override, resultDoc, valid, numDocs,
// returnCode, returnMsg.
ORVXML_API int qrkGenXMLClob(void* reserved1, void* reserved2, sqlda* da);
ORVXML_API int qrkRetrieveXMLClob(void* reserved1, void* reserved2, sqlda* da);

// The parameters of qrkGenXML, qrkGenXML2 and qrkGenXMLClob. A null overrideType or maxRows counts
// as 0. returnMsg holds 1024 bytes and is always terminated.
ORVXML_API int qrkGenXML1_STP(clob* dadBuf, const char* resultTable, const int* overrideType,
                              const char* override, const int* maxRows, int* numRows,
                              int* returnCode, char* returnMsg, short* dadInd,
                              short* resultTableInd, short* overrideTypeInd, short* overrideInd,
                              short* maxRowsInd, short* numRowsInd, short* returnCodeInd,
                              short* returnMsgInd);
ORVXML_API int qrkGenXML_STP(clob* dadBuf, const char* resultTable, const char* resultColumn,
                             const char* validColumn, const int* overrideType, const char* override,
                             const int* maxRows, int* numRows, int* returnCode, char* returnMsg,
                             short* dadInd, short* resultTableInd, short* resultColumnInd,
                             short* validColumnInd, short* overrideTypeInd, short* overrideInd,
                             short* maxRowsInd, short* numRowsInd, short* returnCodeInd,
                             short* returnMsgInd);
ORVXML_API int qrkGenXMLClob_STP(clob* dadBuf, const int* overrideType, const char* override,
                                 clob* resultDoc, int* valid, int* numDocs, int* returnCode,
                                 char* returnMsg, short* dadInd, short* overrideTypeInd,
                                 short* overrideInd, short* resultDocInd, short* validInd,
                                 short* numDocsInd, short* returnCodeInd, short* returnMsgInd);
// The parameters of qrkRetrieveXML, qrkRetrieveXML2 and qrkRetrieveXMLClob.
ORVXML_API int qrkRetrieveXML1_STP(const char* collectionName, const char* resultTable,
                                   const int* overrideType, const char* override,
                                   const int* maxRows, int* numRows, int* returnCode,
                                   char* returnMsg, short* nameInd, short* resultTableInd,
                                   short* overrideTypeInd, short* overrideInd, short* maxRowsInd,
                                   short* numRowsInd, short* returnCodeInd, short* returnMsgInd);
ORVXML_API int qrkRetrieveXML_STP(const char* collectionName, const char* resultTable,
                                  const char* resultColumn, const char* validColumn,
                                  const int* overrideType, const char* override, const int* maxRows,
                                  int* numRows, int* returnCode, char* returnMsg, short* nameInd,
                                  short* resultTableInd, short* resultColumnInd,
                                  short* validColumnInd, short* overrideTypeInd, short* overrideInd,
                                  short* maxRowsInd, short* numRowsInd, short* returnCodeInd,
                                  short* returnMsgInd);
ORVXML_API int qrkRetrieveXMLClob_STP(const char* collectionName, const int* overrideType,
                                      const char* override, clob* resultDoc, int* valid,
                                      int* numDocs, int* returnCode, char* returnMsg,
                                      short* nameInd, short* overrideTypeInd, short* overrideInd,
                                      short* resultDocInd, short* validInd, short* numDocsInd,
                                      short* returnCodeInd, short* returnMsgInd);
#ifdef __cplusplus
}
#endif
