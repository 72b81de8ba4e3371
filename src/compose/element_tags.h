// The tags of one element, as both mappings write them.
#pragma once

#include <string>

#include "src/parser/parser.h"

namespace orvxml {

// "<name" on a line of its own behind `indent` blanks; empty when the name does not convert.
std::string startTagOf(QrkStruct* ctx, const DOMString& name, int indent);
// "</name>", likewise on a line of its own when `hasOwnLine`.
std::string endTagOf(QrkStruct* ctx, const DOMString& name, bool hasOwnLine, int indent);

}  // namespace orvxml
