// What is told with a place in the mapping: where a failure lies, for which the messages have no
// room, and what is suspicious. Without a listener to this thread nothing happens. Texts are in
// UTF-8, for one line.
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include <xercesc/dom/DOM.hpp>

#include "orvxml/context.h"
#include "orvxml/notices.h"
#include "src/outcome/failure.h"

namespace orvxml {

// A text as notices show it: control characters as escapes, cut behind `most` UTF-16 units. The
// second form takes one in the database code page.
std::string shown(std::u16string_view text, size_t most = 60);
std::string shownText(QrkStruct* ctx, std::string_view text, size_t most = 60);
// "COLUMN = value".
std::string shownValue(QrkStruct* ctx, std::string_view column, std::string_view value);

// The failure with its place in the mapping: the element that `node` stands for, null for none.
// `lacks`: what the message does not say.
Failure at(const xercesc::DOMNode* node, Failure failure, std::string_view lacks = {});
// Runs `work` on what stands at `node`; a failure that has no place yet lies there, and lacks what
// `lacks()` says.
template <class Work, class Lacks>
auto placed(const xercesc::DOMNode* node, Work&& work, Lacks&& lacks) {
  try {
    return work();
  } catch (Failure& failure) {
    if (failure.place().text != FailureText::kNone) throw;
    throw at(node, std::move(failure), lacks());
  }
}

void tellWarning(const char* rule, const xercesc::DOMNode* node, std::string_view text);

}  // namespace orvxml
