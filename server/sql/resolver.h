// Gives every name its object and every expression, marker and result column its type, in place.
//
// Rules for the type of a marker: a comparison, BETWEEN, IN, LIKE or arithmetic takes the other
// operand's type, CAST its target, an inserted or assigned value its column, an argument of a
// procedure its parameter; otherwise -418. `INSERT INTO T(c1,c2) SELECT * FROM TABLE(VALUES(...))
// AS T WHERE C2 > 0`: the columns of the VALUES take the names of the insert's column list.
//
// Throws SqlError: -204 undefined table or type, -206 undefined column, -203 ambiguous column,
// -440 no such routine or no routine for these arguments, -117 number of inserted values, -121 a
// column named twice, -401 operands that do not compare, -408 a value that cannot be assigned to
// its column, -420 / -171 an argument of a wrong type, -412 / -84 wrong use, -421 set operands of
// different width, -119 a column that is not grouped, -120 a column function where none may stand,
// -205 a column that an object lacks, -601 an object that exists, -612 a duplicate column name,
// -607, -542 a key column that is nullable, -573 a foreign key without a parent key, -538 a
// foreign key of the wrong shape.
#pragma once

#include "server/catalog/catalog.h"
#include "server/sql/ast.h"

namespace orv {

void resolve(Statement& statement, const Catalog& catalog);

}  // namespace orv
