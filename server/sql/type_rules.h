// How types meet: which compare, which are assigned and cast to which, and what type an operation
// on two of them has. Nullability is the caller's business unless said otherwise.
#pragma once

#include <optional>
#include <string_view>

#include "server/sql/types.h"

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

// Both operands are numeric. `op` is + - * or /.
SqlType arithmeticType(std::string_view op, const SqlType& a, const SqlType& b);
// Nothing when an operand is no string or the kinds of string do not mix.
std::optional<SqlType> concatType(const SqlType& a, const SqlType& b);

// CHAR as VARCHAR, GRAPHIC as VARGRAPHIC, the rest unchanged; not distinct any more.
SqlType varyingType(const SqlType& type);
// An integer type as the DECIMAL that holds it.
SqlType asDecimal(const SqlType& type);

}  // namespace orv
