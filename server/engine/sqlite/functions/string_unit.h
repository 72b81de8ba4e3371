// The unit in which string functions count, as their first argument gives it.
#pragma once

#include "server/values/types.h"

namespace orv::sqlite {

enum class StringUnit : int { CodePageByte = 0, Utf16 = 1, Byte = 2 };

inline StringUnit unitOf(TypeKind kind) {
  if (isGraphic(kind)) return StringUnit::Utf16;
  return isBinary(kind) ? StringUnit::Byte : StringUnit::CodePageByte;
}

}  // namespace orv::sqlite
