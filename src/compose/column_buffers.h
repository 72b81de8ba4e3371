// How composition fetches the columns of its queries: every type as text, into a buffer that holds
// all its values, and character large objects by locator.
#pragma once

#include <cstdint>
#include <cstdlib>

#include "orv/sqlcli.h"
#include "src/outcome/failure.h"

namespace orvxml {

bool isGraphicType(SQLSMALLINT type);

// Character large objects may be far larger than what anybody wants to set aside for them.
bool isFetchedByLocator(SQLSMALLINT type);

// Bytes that every value of the column fits as text, with its terminator. `size`: as
// SQLDescribeCol tells it.
int32_t textBufferSize(SQLSMALLINT type, SQLUINTEGER size);

// Memory that free() releases; QRKG002E without any.
template <class T>
T* allocateZeroed(size_t count) {
  void* const memory = std::calloc(count, sizeof(T));
  if (!memory) throw Failure(Msg::QRKG002E);
  return static_cast<T*>(memory);
}

}  // namespace orvxml
