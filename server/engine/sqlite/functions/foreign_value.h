// Values that another program has stored, read as those of the type that a column was given: the
// functions, the results of statements and the choice of the type itself judge them by one rule.
#pragma once

#include <string>

#include "server/values/value_conversion.h"

namespace orv::sqlite {

// `value` as one of `type`, as convertValue() does for an assignment, but nothing of it is
// lost: 1.5 is no INTEGER (-420). Of a floating-point number the 15 digits count that are certain.
ValueView foreignValue(const ValueView& value, const SqlType& type, const TextLength& length,
                       std::string& storage);

// -420 for a value that is none of `type`.
[[noreturn]] void failOfType(const ValueView& value, const SqlType& type);

}  // namespace orv::sqlite
