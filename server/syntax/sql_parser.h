// From text to tree. A recursive-descent parser over the lexer's tokens; it knows no catalog.
#pragma once

#include <memory>
#include <string_view>

#include "server/syntax/ast.h"

namespace orv {

// Parses one statement; a trailing semicolon is accepted. Throws SqlError -104 with the offending
// token, what stands before it and what was expected; what scan() throws; -405 a constant out of
// range, -604 a length or precision that a type does not have, -628 a clause given twice, -435 an
// SQLSTATE that cannot be signalled, -101 more than kMaxNesting levels.
std::unique_ptr<Statement> parseStatement(std::string_view text);

}  // namespace orv
