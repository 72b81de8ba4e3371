// What composition tells the listener of its thread: where in the mapping a failure stands and
// which rows were being written, and what is suspicious in the data. Without a listener nothing
// happens.
#pragma once

#include <string>
#include <string_view>

#include "orvxml/context.h"
#include "orvxml/notices.h"
#include "orvxml/parser.h"

namespace orvxml {

// Text of the database code page in UTF-8, for one line: control characters as escapes, and cut
// behind `most` UTF-16 units.
std::string shownText(QrkStruct* ctx, std::string_view text, size_t most = 60);
// "COLUMN = value" in UTF-8.
std::string shownValue(QrkStruct* ctx, std::string_view column, std::string_view value);

// The place of the failure that stands: `node` of the mapping, null for none, and what the message
// lacks, in UTF-8. What its listener throws is swallowed: the failure itself counts.
void tellPlace(const xercesc::DOMNode* node, const std::string& text);
void tellWarning(const char* rule, const xercesc::DOMNode* node, const std::string& text);

}  // namespace orvxml
