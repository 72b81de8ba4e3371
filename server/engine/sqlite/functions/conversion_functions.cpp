// Conversion, LIKE, and the decimal collation.
#include "server/engine/sqlite/functions/foreign_value.h"
#include "server/engine/sqlite/functions/function_support.h"
#include "server/values/utf8_text.h"

namespace orv::sqlite {
namespace {

// kind, length, scale as integers from argument `first` on.
SqlType typeArgument(sqlite3_value** values, int first) {
  SqlType type;
  type.kind = static_cast<TypeKind>(sqlite3_value_int(values[first]));
  type.length = sqlite3_value_int64(values[first + 1]);
  type.scale = sqlite3_value_int(values[first + 2]);
  return type;
}

bool sameValue(const ValueView& a, const ValueView& b) {
  if (a.kind != b.kind) return false;
  switch (a.kind) {
    case ValueView::Kind::Integer:
      return a.integer == b.integer;
    case ValueView::Kind::Text:
    case ValueView::Kind::Blob:
      return a.text.data() == b.text.data() && a.text.size() == b.text.size();
    default:
      return a.kind == ValueView::Kind::Null;
  }
}

// Which value did not convert: the column, and where it was read from one the number of the row.
std::string placeArgument(int count, sqlite3_value** values) {
  if (count < 5) return {};
  std::string place(textArgument(values[4]));
  if (count > 5) place.append(", rowid ").append(textArgument(values[5]));
  return place;
}

using Conversion = ValueView (*)(const ValueView&, const SqlType&, const TextLength&, std::string&);

template <ConversionMode mode>
ValueView inMode(const ValueView& value, const SqlType& type, const TextLength& length,
                 std::string& storage) {
  return convertValue(value, type, length, mode, storage);
}

// value, type; but for CAST the column's name, and the number of the row that it is read from
template <Conversion conversion>
void convert(sqlite3_context* context, int count, sqlite3_value** values) {
  Environment& environment = environmentOf(context);
  ValueView value = viewOf(values[0]);
  ValueView result;
  try {
    result = conversion(value, typeArgument(values, 1), environment.length(), environment.storage);
  } catch (const SqlError& error) {
    throw atPlace(error, placeArgument(count, values));
  }
  if (sameValue(value, result)) {
    sqlite3_result_value(context, values[0]);
  } else {
    setResult(context, result);
  }
}

void notNull(sqlite3_context* context, int, sqlite3_value** values) {
  if (sqlite3_value_type(values[0]) == SQLITE_NULL) {
    throw SqlError(-407, {std::string(viewOf(values[1]).text)});
  }
  sqlite3_result_value(context, values[0]);
}

void concatBytes(sqlite3_context* context, int count, sqlite3_value** values) {
  if (anyNull(values, count)) return;
  std::string& bytes = environmentOf(context).storage;
  bytes.clear();
  for (int i = 0; i < count; ++i) bytes.append(viewOf(values[i]).text);
  setResult(context, ValueView::ofBlob(bytes));
}

// LIKE: % any characters, _ one character, the escape character before either of them or itself.
class LikePattern {
 public:
  LikePattern(std::string_view pattern, std::string_view escape) : pattern_(pattern) {
    if (escape.empty()) return;
    if (utf8CharacterLength(escape, 0) != escape.size()) throw SqlError(-130, "22025", {});
    escape_ = escape;
  }

  // Only the last % met is ever tried again, so the work is at most text times pattern.
  bool matches(std::string_view text) const {
    size_t at = 0;
    size_t pattern = 0;
    size_t retryText = std::string_view::npos;
    size_t retryPattern = 0;
    while (at < text.size() || pattern < pattern_.size()) {
      if (pattern < pattern_.size() && pattern_[pattern] == '%') {
        retryPattern = ++pattern;
        retryText = at;
        continue;
      }
      if (at < text.size() && matchOne(text, at, pattern)) continue;
      if (retryText == std::string_view::npos || retryText >= text.size()) return false;
      retryText += utf8CharacterLength(text, retryText);
      at = retryText;
      pattern = retryPattern;
    }
    return true;
  }

 private:
  // Matches one character and moves on in both texts.
  bool matchOne(std::string_view text, size_t& at, size_t& pattern) const {
    if (pattern >= pattern_.size()) return false;
    size_t length = utf8CharacterLength(text, at);
    size_t literal = pattern;
    if (!escape_.empty() && pattern_.substr(pattern).starts_with(escape_)) {
      literal += escape_.size();
      if (literal >= pattern_.size() || (pattern_[literal] != '%' && pattern_[literal] != '_' &&
                                         !pattern_.substr(literal).starts_with(escape_))) {
        throw SqlError(-130, "22025", {});
      }
    } else if (pattern_[pattern] == '_') {
      at += length;
      ++pattern;
      return true;
    }
    size_t literalLength = utf8CharacterLength(pattern_, literal);
    if (text.substr(at, length) != pattern_.substr(literal, literalLength)) return false;
    at += length;
    pattern = literal + literalLength;
    return true;
  }

  std::string_view pattern_;
  std::string_view escape_;
};

// ORV_LIKE(value, pattern [, escape])
void like(sqlite3_context* context, int count, sqlite3_value** values) {
  if (anyNull(values, count)) return;
  std::string_view escape = count > 2 ? viewOf(values[2]).text : std::string_view();
  if (count > 2 && escape.empty()) throw SqlError(-130, "22025", {});
  LikePattern pattern(textArgument(values[1]), escape);
  sqlite3_result_int(context, pattern.matches(textArgument(values[0])) ? 1 : 0);
}

int compareDecimalTexts(void*, int leftSize, const void* left, int rightSize, const void* right) {
  return compareDecimals({static_cast<const char*>(left), static_cast<size_t>(leftSize)},
                         {static_cast<const char*>(right), static_cast<size_t>(rightSize)});
}

}  // namespace

void registerConversions(sqlite3* database, Environment& environment) {
  static constexpr FunctionEntry kEntries[] = {
      {"ORV_ASSIGN", 4, guarded<convert<inMode<ConversionMode::Assignment>>>},
      {"ORV_ASSIGN", 5, guarded<convert<inMode<ConversionMode::Assignment>>>},
      {"ORV_ASSIGN", 6, guarded<convert<inMode<ConversionMode::Assignment>>>},
      {"ORV_STORED", 5, guarded<convert<foreignValue>>},
      {"ORV_STORED", 6, guarded<convert<foreignValue>>},
      {"ORV_CAST", 4, guarded<convert<inMode<ConversionMode::Cast>>>},
      {"ORV_NOT_NULL", 2, guarded<notNull>},
      {"ORV_CONCAT_BYTES", -1, guarded<concatBytes>},
      {"ORV_LIKE", 2, guarded<like>},
      {"ORV_LIKE", 3, guarded<like>},
  };
  registerFunctions(database, environment, kEntries);
}

void registerCollation(sqlite3* database) {
  int rc = sqlite3_create_collation_v2(database, "ORV_DECIMAL", SQLITE_UTF8, nullptr,
                                       compareDecimalTexts, nullptr);
  if (rc != SQLITE_OK) throw failure(database, rc);
}

}  // namespace orv::sqlite
