// Decomposition of one document by one DAD, inside the caller's unit of work. Nothing is committed
// or rolled back: rows inserted before a failure stay pending.
#pragma once

#include "orvxml/buffer.h"
#include "orvxml/context.h"

namespace orvxml {

// By the DAD of the collection `collectionName` in ORVXML.XML_USAGE.
void qrkDecomposeByName(QrkStruct* ctx, const char* collectionName, QrkOutbuf* doc);

// By the DAD in `dad`. dadFlag 1: the DAD is in the encoding of the database code page. notEnabled
// 1: the DAD came from the caller and the target tables are checked against it first.
void qrkDecomposeByDAD(QrkStruct* ctx, QrkOutbuf* dad, int dadFlag, QrkOutbuf* doc, int notEnabled);

}  // namespace orvxml
