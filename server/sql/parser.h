// From text to tree. A recursive-descent parser over the lexer's tokens; it knows no catalog.
#pragma once

#include <memory>
#include <string_view>

#include "server/sql/ast.h"

namespace orv {

// Parses one statement; a trailing semicolon is accepted. Throws SqlError -104 with the offending
// token, what stands before it and what was expected; -103 for malformed numbers, -010 for an
// unterminated string, -107 for a name over 128 bytes, -101 for more than 2 MB of text or nesting
// beyond 500 levels.
std::unique_ptr<Statement> parseStatement(std::string_view text);

}  // namespace orv
