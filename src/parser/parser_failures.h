// How every failure of the parser is thrown on: as QRKQ047E with the place as far as it is known.
#pragma once

#include <optional>
#include <string>

#include "src/outcome/failure.h"

namespace orvxml {

// The parser's error of this place and text (database code page). A listener is told in full: the
// message of a function's call is cut, and that of a document which is found not to be valid is
// lost.
Failure parserFailure(QrkStruct* ctx, std::optional<uint64_t> line, std::optional<uint64_t> column,
                      const std::string& text);

// Inside a handler: the failure for the exception that is handled, when it is one of the parser's
// own.
std::optional<Failure> parserFailure(QrkStruct* ctx);

}  // namespace orvxml
