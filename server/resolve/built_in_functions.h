// The built-in functions as data. Registered functions join in beside them: the resolver asks this
// table first and the catalog afterwards.
#pragma once

#include <cstdint>
#include <string_view>

#include "server/values/types.h"

namespace orv {

// Its value is another one at each evaluation.
inline constexpr std::string_view kGenerateUnique = "GENERATE_UNIQUE";

// How the result's type follows from the arguments.
enum class ResultRule : uint8_t {
  Integer,     // INTEGER
  First,       // the first argument's type
  Varying,     // the first argument's type as a varying string
  Substring,   // the same, with the third argument's value as length when it is a constant
  Text,        // VARCHAR(4000), or the first argument's type when that is larger
  HexText,     // VARCHAR of two digits for each byte of the first argument
  Digits,      // CHAR of as many digits as the first argument has
  Number,      // the arguments' common number
  Common,      // the common type of all arguments
  Timestamp,   // TIMESTAMP
  UniqueBits,  // CHAR(13) FOR BIT DATA, never null
  Conversion,  // a CAST in the form of a function; `target` with length and scale as arguments
  Concat,      // the operator || in the form of a function
  Sum,         // column functions
  Average,
  Extreme,
};

// One character for each argument, a lower-case one when it may be left out, '*' at the end when
// the last may be repeated: A anything, S a string, N a number, I an integer (which also types a
// marker), D a date, time or timestamp or its text, L a constant integer.
struct BuiltInFunction {
  std::string_view name;
  std::string_view function;  // its own name: UPPER for UCASE
  std::string_view arguments;
  ResultRule rule;
  TypeKind target = TypeKind::Unknown;
  bool aggregate = false;
};

// Null when no built-in function has the name.
const BuiltInFunction* findFunction(std::string_view name);

bool takesArguments(const BuiltInFunction& function, size_t count);
// The class of argument `index`, in upper case.
char argumentClass(const BuiltInFunction& function, size_t index);

}  // namespace orv
