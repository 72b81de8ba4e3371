// The mapping of an enabled collection, for composition by the collection's name.
#pragma once

#include "orvxml/buffer.h"
#include "orvxml/context.h"

namespace orvxml {

// Acquires `dadBuf` and fills it with the DAD that ORVXML.XML_USAGE holds for `collectionName`.
// QRKQ028E for an unknown collection, QRKQ029E for one without a DAD, QRKA073E in a database whose
// packages are not bound, QRKQ052E when the table cannot be read.
void qrkFetchDAD(QrkStruct* ctx, const char* collectionName, QrkOutbuf* dadBuf);

}  // namespace orvxml
