// The table of what is enabled in a database.
#pragma once

#include "orvxml/context.h"

namespace orvxml {

// QRKQ052E when there is no ORVXML.XML_USAGE; or what keeps the database from telling.
void requireUsageTable(QrkStruct* ctx);

}  // namespace orvxml
