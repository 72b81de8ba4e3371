// How composition fetches the columns of its queries: every type as text, into a buffer that holds
// all its values, and character large objects by locator.
#pragma once

#include <cstdint>

#include "orv/sqlcli.h"

namespace orvxml {

bool isGraphicType(SQLSMALLINT type);

// Character large objects may be far larger than what anybody wants to set aside for them.
bool isFetchedByLocator(SQLSMALLINT type);

// Bytes that every value of the column fits as text, with its terminator. `size`: as
// SQLDescribeCol tells it.
int32_t textBufferSize(SQLSMALLINT type, SQLUINTEGER size);

}  // namespace orvxml
