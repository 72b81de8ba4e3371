// What enabling says of a schema that no document can be judged by.
#pragma once

#include <string_view>

#include "orvxml/context.h"

namespace orvxml {

// Documents are validated when they come: a schema that is faulty, too large or missing fails them
// all, while enabling by it succeeds. Tells the listener of this thread, if there is one, with the
// rule "unusable-schema".
void warnOfUnusableSchema(QrkStruct* ctx, std::u16string_view location);

}  // namespace orvxml
