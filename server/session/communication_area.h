// Outcomes in the fixed layout of the SQL communication area.
#pragma once

#include <string>
#include <vector>

#include "orv/sqlca.h"
#include "server/session/code_page.h"
#include "server/values/sql_error.h"

namespace orv {

// Success, with nothing else set.
void resetArea(sqlca& area);
// Tokens go in with separators between them, as many as fit; the last one may be cut, on a
// character boundary. They are in the code page of the database, UTF-8 without one.
void fillArea(sqlca& area, const SqlError& outcome, const CodePage* codePage);
void fillArea(sqlca& area, int sqlcode, std::string_view sqlstate,
              const std::vector<std::string>& tokens, const CodePage* codePage);

std::vector<std::string> tokensOf(const sqlca& area);
// The failure that an area reports; its texts are cleaned of bytes that are no text.
SqlError errorFrom(const sqlca& area);

}  // namespace orv
