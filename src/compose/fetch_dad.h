// The mapping of an enabled collection, for composition by the collection's name.
#pragma once

#include "orvxml/buffer.h"
#include "orvxml/context.h"

namespace orvxml {

// Acquires `dadBuf` and fills it with the DAD that ORVXML.XML_USAGE holds for `collectionName`. 0;
// otherwise the SQLCODE of a cursor that did not open, or -1. `errCode` then has the code of the
// message in `msg`: QRKQ028E for an unknown collection, QRKQ029E for one without a DAD, QRKA073E in
// a database whose packages are not bound, QRKQ052E when the table cannot be read.
int qrkFetchDAD(QrkStruct* ctx, const char* collectionName, QrkOutbuf* dadBuf, char* msg,
                int* errCode);

}  // namespace orvxml
