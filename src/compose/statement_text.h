// The statement of SQL mapping: found, normalised and split at its ORDER BY clause.
#pragma once

#include <string>

#include "src/parser/parser.h"

namespace orvxml {

// In the database code page.
struct StatementText {
  std::string baseQuery;  // in front of the clause
  std::string orderList;  // behind the words ORDER BY
};

// The statement of the DAD's SQL_stmt element or, with any override type but 0, the override.
// QRKQ001E when there is none, QRKQ018E without ORDER BY, QRKQ038E when it is too long.
StatementText readStatement(QrkStruct* ctx, const DOM_Element& sqlStmt, int overrideType,
                            const char* override);

}  // namespace orvxml
