// The model of a column's mapping, for the library's own.
#pragma once

#include "orvxml/column_dad.h"

namespace orvxml {

// See dad_popu. A mapping without an `Xcolumn` is QRKA009E.
ModelOwner columnModel(QrkStruct* ctx, const char* tableName, const char* columnName,
                       QrkOutbuf* dadBuffer, bool inDbEncoding);

}  // namespace orvxml
