// Gives every name its object and every expression, marker and result column its type, in place.
//
// Rules for the type of a marker: a comparison, BETWEEN, IN or arithmetic takes the other operand's
// type, LIKE and || a long string, CAST its target, an inserted or assigned value its column, an
// argument of a routine its parameter, a position or length in a string INTEGER; otherwise -418.
// `INSERT INTO T(c1,c2) SELECT * FROM TABLE(VALUES(...)) AS T WHERE C2 > 0`: the columns of the
// VALUES take the names of the insert's column list.
//
// Texts that are compared with dates, times and timestamps, and results that must have a common
// type (CASE, COALESCE, set operations, rows of VALUES), are wrapped in CASTs, so that an engine
// finds operands of one type.
//
// Throws SqlError: -204 undefined table or type, -206 undefined column, -203 ambiguous column,
// -440 no such routine or no routine for these arguments, -117 number of inserted values, -121 a
// column named twice, -401 operands that do not compare, -402 arithmetic without numbers, -414 LIKE
// without strings, -408 a value that cannot be assigned to its column, -461 a cast that does not
// exist, -171 an argument of a wrong type, -412 wrong use of a subquery, -421 and -415 combined
// queries of different width or types, -581 results of CASE of different types, -119 a column that
// is not grouped, -120 and -112 a column function where none may stand, -125, -208 and -214 wrong
// ORDER BY items, -134 a large object that is sorted or compared, -158 a wrong number of column
// names, -205 a column that an object lacks, -601 an object that exists, -612 a duplicate column
// name, -150, -159, -553 and -607 an object that does not take the change, -542 a key column that
// is nullable, -624 a second primary key, -573 a foreign key without a parent key, -538 a foreign
// key of the wrong shape, -546 and -574 a wrong check constraint or default, -193 a new column that
// needs a default, -449, -454, -455, -469 and -476 wrong routines, -398, -451, -453, -458, -483 and
// -492 wrong functions, -696 and -797 wrong rows and statements of triggers, -153 a view without
// names for its columns, -1216 graphic data in a single-byte database.
#pragma once

#include <memory>

#include "server/resolve/catalog.h"
#include "server/syntax/ast.h"

namespace orv {

void resolve(Statement& statement, const Catalog& catalog);

// Parses and resolves a recorded trigger. Its names mean what they meant when it was made; the
// pointers in it are the catalog's. Throws what resolve() throws, so -204 or -440 when something
// that the trigger uses is no longer there.
std::shared_ptr<TriggerDefinition> resolveTrigger(const Trigger& recorded, const Catalog& catalog);

}  // namespace orv
