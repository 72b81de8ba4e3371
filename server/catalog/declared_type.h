// Reads types as DDL writes them: everything that typeText() gives, exactly, and the freer
// spellings that other programs declare their columns with.
#pragma once

#include <string_view>

#include "server/values/types.h"

namespace orv {

// The type that `text` declares. Text without meaning here is a VARCHAR of the greatest length.
SqlType declaredType(std::string_view text);

}  // namespace orv
