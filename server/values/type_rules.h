// How types meet: which compare, which are assigned and cast to which, and what type an operation
// on two of them has. Nullability is the caller's business unless said otherwise.
#pragma once

#include <optional>
#include <string_view>

#include "server/values/types.h"

namespace orv {

// Whether a database of this code page holds graphic data: it encodes some characters in more than
// one byte.
bool supportsGraphic(int codePage);

// These four look at the source types of distinct types only. `unicode` says that character and
// graphic strings mix, as they do in a UTF-8 database.
bool baseComparable(const SqlType& a, const SqlType& b, bool unicode);
bool baseAssignable(const SqlType& target, const SqlType& value, bool unicode);
bool baseCastable(const SqlType& target, const SqlType& value);
// CASE, COALESCE, set operations. Nothing when the types do not go together.
std::optional<SqlType> commonBase(const SqlType& a, const SqlType& b);

bool sameDistinct(const SqlType& a, const SqlType& b);  // also when neither is distinct
// The same in the list of a routine's parameters, where lengths do not tell types apart.
bool sameParameterType(const SqlType& a, const SqlType& b);

// How far a parameter's type lies beyond that of an argument: 0 for the same kind, more for each
// kind that reaches further (SMALLINT, INTEGER, BIGINT, DECIMAL, REAL, DOUBLE; CHAR, VARCHAR, LONG
// VARCHAR, CLOB and so on). Nothing when the parameter does not take the argument; a distinct type
// goes to itself only.
std::optional<int> promotionSteps(const SqlType& parameter, const SqlType& argument);
// Whether a cast between them exists: two distinct types never, unless they are one.
bool castable(const SqlType& target, const SqlType& value);

// Both operands are numeric. `op` is + - * or /.
SqlType arithmeticType(std::string_view op, const SqlType& a, const SqlType& b);
// Nothing when an operand is no string or the kinds of string do not mix.
std::optional<SqlType> concatType(const SqlType& a, const SqlType& b);

// CHAR as VARCHAR, GRAPHIC as VARGRAPHIC, the rest unchanged; not distinct any more.
SqlType varyingType(const SqlType& type);
// An integer type as the DECIMAL that holds it.
SqlType asDecimal(const SqlType& type);

}  // namespace orv
