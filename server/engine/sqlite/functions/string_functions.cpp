// The string functions. Positions and lengths count in the unit of the operand's type, which comes
// as the first argument: bytes of the database code page, UTF-16 units for graphic types, plain
// bytes for binary ones. No character is ever split.
#include <unicode/uchar.h>

#include "server/engine/sqlite/functions/function_support.h"
#include "server/engine/sqlite/functions/string_unit.h"
#include "server/syntax/lexer.h"
#include "server/values/utf8.h"
#include "server/values/utf8_text.h"

namespace orv::sqlite {
namespace {

constexpr size_t kLargestString = 1U << 30;

class UnitText {
 public:
  UnitText(sqlite3_context* context, sqlite3_value* unit)
      : environment_(environmentOf(context)),
        unit_(static_cast<StringUnit>(sqlite3_value_int(unit))) {}

  int64_t length(std::string_view text) const {
    switch (unit_) {
      case StringUnit::Utf16:
        return utf16Units(text);
      case StringUnit::Byte:
        return static_cast<int64_t>(text.size());
      default:
        return environment_.length().bytes(text);
    }
  }
  std::string_view prefix(std::string_view text, int64_t limit) const {
    switch (unit_) {
      case StringUnit::Utf16:
        return utf16Prefix(text, limit);
      case StringUnit::Byte:
        return text.substr(0, static_cast<size_t>(std::max<int64_t>(limit, 0)));
      default:
        return environment_.length().prefix(text, limit);
    }
  }
  void give(sqlite3_context* context, std::string_view text) const {
    setResult(context,
              unit_ == StringUnit::Byte ? ValueView::ofBlob(text) : ValueView::ofText(text));
  }

 private:
  Environment& environment_;
  StringUnit unit_;
};

[[noreturn]] void failPosition() {
  throw SqlError(-138, "22011", {});
}

// ORV_LENGTH(unit, text). A value in CHAR or VARCHAR may be bytes, which no code page counts.
void length(sqlite3_context* context, int, sqlite3_value** values) {
  if (anyNull(values, 2)) return;
  if (sqlite3_value_type(values[1]) == SQLITE_BLOB) {
    sqlite3_result_int(context, sqlite3_value_bytes(values[1]));
    return;
  }
  sqlite3_result_int64(context, UnitText(context, values[0]).length(textArgument(values[1])));
}

// ORV_SUBSTR(unit, text, start [, length])
void substring(sqlite3_context* context, int count, sqlite3_value** values) {
  if (anyNull(values, count)) return;
  UnitText unit(context, values[0]);
  std::string_view text = textArgument(values[1]);
  int64_t start = sqlite3_value_int64(values[2]);
  int64_t wanted = count > 3 ? sqlite3_value_int64(values[3]) : INT64_MAX;
  if (start < 1 || wanted < 0) failPosition();
  text.remove_prefix(unit.prefix(text, start - 1).size());
  unit.give(context, unit.prefix(text, wanted));
}

// ORV_LEFT(unit, text, length)
void left(sqlite3_context* context, int, sqlite3_value** values) {
  if (anyNull(values, 3)) return;
  int64_t wanted = sqlite3_value_int64(values[2]);
  if (wanted < 0) failPosition();
  UnitText unit(context, values[0]);
  unit.give(context, unit.prefix(textArgument(values[1]), wanted));
}

// ORV_RIGHT(unit, text, length)
void right(sqlite3_context* context, int, sqlite3_value** values) {
  if (anyNull(values, 3)) return;
  int64_t wanted = sqlite3_value_int64(values[2]);
  if (wanted < 0) failPosition();
  UnitText unit(context, values[0]);
  std::string_view text = textArgument(values[1]);
  int64_t skipped = std::max<int64_t>(unit.length(text) - wanted, 0);
  text.remove_prefix(unit.prefix(text, skipped).size());
  unit.give(context, text);
}

// ORV_LOCATE(unit, wanted, text [, start])
void locate(sqlite3_context* context, int count, sqlite3_value** values) {
  if (anyNull(values, count)) return;
  UnitText unit(context, values[0]);
  std::string_view wanted = textArgument(values[1]);
  std::string_view text = textArgument(values[2]);
  int64_t start = count > 3 ? sqlite3_value_int64(values[3]) : 1;
  if (start < 1) failPosition();
  size_t found = text.find(wanted, unit.prefix(text, start - 1).size());
  sqlite3_result_int64(
      context, found == std::string_view::npos ? 0 : unit.length(text.substr(0, found)) + 1);
}

void upper(sqlite3_context* context, int, sqlite3_value** values) {
  if (anyNull(values, 1)) return;
  std::string folded = foldName(textArgument(values[0]));
  setResult(context, ValueView::ofText(folded));
}

void lower(sqlite3_context* context, int, sqlite3_value** values) {
  if (anyNull(values, 1)) return;
  std::string_view text = textArgument(values[0]);
  std::string folded;
  folded.reserve(text.size());
  for (size_t at = 0, next = 0; at < text.size(); at = next) {
    char32_t character = decodeUtf8(text, at, next);
    bool fullWidth = character >= 0xFF21 && character <= 0xFF3A;
    if (character == kInvalidUtf8 || fullWidth) {
      folded.append(text.substr(at, next - at));
    } else {
      appendUtf8(folded, static_cast<char32_t>(u_tolower(static_cast<UChar32>(character))));
    }
  }
  setResult(context, ValueView::ofText(folded));
}

std::string_view stripped(std::string_view text, std::string_view character, bool leading,
                          bool trailing) {
  while (leading && text.starts_with(character)) text.remove_prefix(character.size());
  while (trailing && text.ends_with(character)) text.remove_suffix(character.size());
  return text;
}

void giveLike(sqlite3_context* context, sqlite3_value* model, std::string_view text) {
  bool binary = sqlite3_value_type(model) == SQLITE_BLOB;
  setResult(context, binary ? ValueView::ofBlob(text) : ValueView::ofText(text));
}

void leftTrim(sqlite3_context* context, int, sqlite3_value** values) {
  if (anyNull(values, 1)) return;
  giveLike(context, values[0], stripped(textArgument(values[0]), " ", true, false));
}

void rightTrim(sqlite3_context* context, int, sqlite3_value** values) {
  if (anyNull(values, 1)) return;
  giveLike(context, values[0], stripped(textArgument(values[0]), " ", false, true));
}

// ORV_STRIP(text [, 'B' | 'L' | 'T' [, character]])
void strip(sqlite3_context* context, int count, sqlite3_value** values) {
  if (anyNull(values, count)) return;
  char side = 'B';
  if (count > 1) {
    std::string_view word = textArgument(values[1]);
    side = word.empty() ? '\0' : static_cast<char>(word.front() & ~0x20);
    if (side != 'B' && side != 'L' && side != 'T') failPosition();
  }
  std::string_view character = count > 2 ? textArgument(values[2]) : " ";
  if (character.empty()) failPosition();
  giveLike(context, values[0],
           stripped(textArgument(values[0]), character, side != 'T', side != 'L'));
}

// ORV_REPLACE(text, wanted, replacement)
void replace(sqlite3_context* context, int, sqlite3_value** values) {
  if (anyNull(values, 3)) return;
  std::string_view text = textArgument(values[0]);
  std::string_view wanted = textArgument(values[1]);
  std::string_view replacement = textArgument(values[2]);
  std::string result;
  size_t at = 0;
  while (!wanted.empty()) {
    size_t found = text.find(wanted, at);
    if (found == std::string_view::npos) break;
    result.append(text.substr(at, found - at)).append(replacement);
    if (result.size() > kLargestString) throw SqlError(-433, {shortened(result)});
    at = found + wanted.size();
  }
  result.append(text.substr(at));
  giveLike(context, values[0], result);
}

// ORV_REPEAT(text, count)
void repeat(sqlite3_context* context, int, sqlite3_value** values) {
  if (anyNull(values, 2)) return;
  std::string_view text = textArgument(values[0]);
  int64_t times = sqlite3_value_int64(values[1]);
  if (times < 0) failPosition();
  if (!text.empty() && static_cast<uint64_t>(times) > kLargestString / text.size()) {
    throw SqlError(-433, {shortened(text)});
  }
  std::string result;
  for (int64_t i = 0; i < times && !text.empty(); ++i) result.append(text);
  giveLike(context, values[0], result);
}

}  // namespace

void registerStrings(sqlite3* database, Environment& environment) {
  static constexpr FunctionEntry kEntries[] = {
      {"ORV_LENGTH", 2, guarded<length>},    {"ORV_SUBSTR", 3, guarded<substring>},
      {"ORV_SUBSTR", 4, guarded<substring>}, {"ORV_LEFT", 3, guarded<left>},
      {"ORV_RIGHT", 3, guarded<right>},      {"ORV_LOCATE", 3, guarded<locate>},
      {"ORV_LOCATE", 4, guarded<locate>},    {"ORV_UPPER", 1, guarded<upper>},
      {"ORV_LOWER", 1, guarded<lower>},      {"ORV_LTRIM", 1, guarded<leftTrim>},
      {"ORV_RTRIM", 1, guarded<rightTrim>},  {"ORV_STRIP", 1, guarded<strip>},
      {"ORV_STRIP", 2, guarded<strip>},      {"ORV_STRIP", 3, guarded<strip>},
      {"ORV_REPLACE", 3, guarded<replace>},  {"ORV_REPEAT", 2, guarded<repeat>},
  };
  registerFunctions(database, environment, kEntries);
}

}  // namespace orv::sqlite
