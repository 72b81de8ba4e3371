// The table of what is enabled in a database.
#pragma once

#include "orvxml/context.h"

namespace orvxml {

// 0 when there is ORVXML.XML_USAGE. Else the code of the message: QRKQ052E, or what keeps the
// database from telling.
int requireUsageTable(const Report& report);

}  // namespace orvxml
