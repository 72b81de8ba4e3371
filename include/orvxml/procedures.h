// The exported stored procedures. The SQLDA forms are registered in the database (parameter style
// ORVDARI) and return 1 to the server; the "_STP" forms take the parameters one by one with 16-bit
// null indicators and return their code. Nothing is committed or rolled back: the caller's unit of
// work decides.
#pragma once

#include <cstdint>

#include "orv/sqlda.h"
#include "orvxml/export.h"

extern "C" {

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
}
