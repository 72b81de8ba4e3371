#include "tests/flows/random_tables.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace orvxml::test {
namespace {

constexpr ColumnType kTypes[] = {
    {"VARCHAR(60)", ValueKind::Text, 60},      {"VARCHAR(5000)", ValueKind::Text, 5000},
    {"CLOB(150000)", ValueKind::Text, 150000}, {"CHAR(12)", ValueKind::Padded, 12},
    {"SMALLINT", ValueKind::Whole, 2},         {"INTEGER", ValueKind::Whole, 4},
    {"BIGINT", ValueKind::Whole, 8},           {"DECIMAL(7,2)", ValueKind::Exact, 7},
    {"DECIMAL(31,2)", ValueKind::Exact, 31},   {"DATE", ValueKind::Day, 0},
    {"TIMESTAMP", ValueKind::Moment, 0},       {"DOUBLE", ValueKind::Floating, 0},
};

constexpr std::string_view kFragments[] = {"<",         ">",      "&",
                                           "\"",        "'",      "]]>",
                                           "<![CDATA[", "&amp;",  "&#65;",
                                           "<!--",      "-->",    "<?x",
                                           "?>",        "</r0>",  "{0}",
                                           "%s",        "=?",     "\\",
                                           "a",         "ü",      "ß",
                                           "Ω",         "я",      "漢",
                                           "💿",         " ",      "  ",
                                           "\t",        "\n",     "\r",
                                           "\r\n",      "\u0085", "\u00a0",
                                           "\u2028",    "\ufeff", "\ufffd",
                                           "e\u0301",   "\u202e", "\U0001F469\u200D\U0001F680",
                                           "\U0010FFFD"};

void appendUtf8(std::string& text, uint32_t c) {
  if (c < 0x80) {
    text += static_cast<char>(c);
    return;
  }
  const int following = c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
  constexpr uint32_t kLead[] = {0, 0xc0, 0xe0, 0xf0};
  text += static_cast<char>(kLead[following] | (c >> (6 * following)));
  for (int i = following - 1; i >= 0; --i) {
    text += static_cast<char>(0x80 | ((c >> (6 * i)) & 0x3f));
  }
}

bool isXmlCharacter(uint32_t c) {
  return c >= 0x20 && (c < 0xd800 || c > 0xdfff) && c != 0xfffe && c != 0xffff;
}

std::string hostilePiece(Random& random) {
  if (!random.oneIn(3)) return std::string(kFragments[random.below(std::size(kFragments))]);
  std::string piece;
  const uint32_t plane = static_cast<uint32_t>(random.below(17)) << 16;
  const uint32_t c = plane + static_cast<uint32_t>(random.below(0x10000));
  if (isXmlCharacter(c)) appendUtf8(piece, c);
  return piece;
}

// A constant holds no more than about 32,000 bytes: longer text is put together.
std::string sqlText(std::string_view text) {
  constexpr size_t kConstantLimit = 15000;
  size_t length = std::min(text.size(), kConstantLimit);
  while (length < text.size() && (text[length] & 0xc0) == 0x80) --length;
  std::string literal = "'";
  for (const char c : text.substr(0, length)) literal.append(c == '\'' ? 2 : 1, c);
  literal += "'";
  if (length == text.size()) return literal;
  return "CAST(" + literal + " AS CLOB(1M)) || " + sqlText(text.substr(length));
}

std::string digits(Random& random, size_t count) {
  std::string text;
  for (size_t i = 0; i < count; ++i) text += static_cast<char>('0' + random.below(10));
  return text;
}

std::string padded(size_t number, size_t width) {
  std::string text = std::to_string(number);
  return std::string(width - std::min(width, text.size()), '0') + text;
}

std::string wholeNumber(Random& random, size_t bytes) {
  const unsigned shift = static_cast<unsigned>(64 - 8 * bytes);
  const int64_t least = INT64_MIN >> shift;
  switch (random.below(4)) {
    case 0:
      return std::to_string(least);
    case 1:
      return std::to_string(~least);
    default:
      return std::to_string(static_cast<int64_t>(random.bits()) >> shift);
  }
}

std::string exactNumber(Random& random, size_t precision) {
  const std::string sign = random.oneIn(2) ? "-" : "";
  if (random.oneIn(4)) return sign + std::string(precision - 2, '9') + ".99";
  return sign + digits(random, 1 + random.below(precision - 2)) + '.' + digits(random, 2);
}

std::string day(Random& random) {
  return padded(1 + random.below(9999), 4) + '-' + padded(1 + random.below(12), 2) + '-' +
         padded(1 + random.below(28), 2);
}

std::string moment(Random& random) {
  return day(random) + '-' + padded(random.below(24), 2) + '.' + padded(random.below(60), 2) + '.' +
         padded(random.below(60), 2) + '.' + digits(random, 6);
}

std::string floatingNumber(Random& random) {
  char text[40];
  const int exponent = static_cast<int>(random.below(600)) - 300;
  std::snprintf(text, sizeof text, "%c%s.%sE%d", random.oneIn(2) ? '-' : '+',
                digits(random, 1).c_str(), digits(random, 16).c_str(), exponent);
  return text;
}

void replaceAll(std::string& text, std::string_view what, std::string_view by) {
  for (size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += by.size()) {
    text.replace(at, what.size(), by);
  }
}

// The mapping's element tree, with the leaves as its kind of mapping has them.
class TreeText {
 public:
  explicit TreeText(const std::vector<RandomTable>& tables) : tables_(tables) {}
  // With the tables' own names: `topNode` lists them, and their keys have this type.
  TreeText(const std::vector<RandomTable>& tables, std::string topNode, std::string keyType)
      : tables_(tables), topNode_(std::move(topNode)), keyType_(std::move(keyType)) {}

  std::string of(size_t index) const {
    const RandomTable& table = tables_[index];
    std::string text = "<element_node name='" + table.element +
                       (index > 0 ? "' multi_occurrence='YES'>" : "'>" + topNode_);
    text += attribute(table, table.key, keyType_);
    std::string texts;
    for (size_t c = 0; c < table.columns.size(); ++c) {
      const RandomColumn& column = table.columns[c];
      if (column.place == Place::Attribute) {
        text += attribute(table, column.name, column.type->sql);
      } else if (column.place == Place::Element) {
        texts += element(table, c);
      }
    }
    text += table.childrenFirst ? children(index) + texts : texts + children(index);
    text += "</element_node>";
    if (!table.isWrapped) return text;
    return "<element_node name='w" + table.element + "'>" + text + "</element_node>";
  }

 private:
  std::string children(size_t index) const {
    std::string text;
    for (size_t i = index + 1; i < tables_.size(); ++i) {
      if (tables_[i].parent == index) text += of(i);
    }
    return text;
  }
  std::string element(const RandomTable& table, size_t index) const {
    const RandomColumn& column = table.columns[index];
    std::string text = "<element_node name='e" + column.name + "'>";
    if (index + 1 < table.columns.size()) {
      const RandomColumn& next = table.columns[index + 1];
      if (next.place == Place::AttributeOfElement) {
        text += attribute(table, next.name, next.type->sql);
      }
    }
    return text + "<text_node>" + leaf(table, column.name, column.type->sql) +
           "</text_node></element_node>";
  }
  std::string attribute(const RandomTable& table, const std::string& column,
                        const std::string& type) const {
    return "<attribute_node name='a" + column + "'>" + leaf(table, column, type) +
           "</attribute_node>";
  }
  std::string leaf(const RandomTable& table, const std::string& column,
                   const std::string& type) const {
    if (topNode_.empty()) return "<column name='" + column + "'/>";
    return "<RDB_node><table name='" + table.name + "'/><column name='" + column + "' type='" +
           type + "'/></RDB_node>";
  }

  const std::vector<RandomTable>& tables_;
  std::string topNode_;  // empty: the columns are a query's
  std::string keyType_;
};

const char* keyType(bool isText) {
  return isText ? "VARCHAR(40)" : "INTEGER";
}

std::string mapping(const std::string& statement, const std::string& tree) {
  return "<DAD><Xcollection>" + statement +
         "<prolog>?xml version='1.0' encoding='UTF-8'?</prolog><root_node>" + tree +
         "</root_node></Xcollection></DAD>";
}

}  // namespace

std::string hostileText(Random& random, size_t limit) {
  if (random.oneIn(12)) return "";
  const bool isLongest = random.oneIn(10);
  const size_t wanted = isLongest ? limit : 1 + random.below(std::min<size_t>(limit, 90));
  std::string text = random.oneIn(6) ? "  " : "";
  while (text.size() < wanted) {
    const std::string piece = hostilePiece(random);
    if (text.size() + piece.size() > wanted) break;
    text += piece;
  }
  if (isLongest) text.resize(limit, random.oneIn(2) ? ' ' : 'z');
  return text;
}

RandomTables::RandomTables(uint32_t seed) : random_(seed), textKeys_(random_.oneIn(3)) {
  const size_t count = 1 + random_.below(4);
  const bool chain = random_.oneIn(2);
  for (size_t i = 0; i < count; ++i) {
    const std::string number = std::to_string(i);
    const size_t parent = i == 0 ? 0 : chain ? i - 1 : random_.below(i);
    RandomTable table{parent,           i > 0 && random_.oneIn(3),
                      random_.oneIn(3), "T" + number,
                      "K" + number,     "P" + number,
                      "r" + number,     {}};
    for (size_t c = random_.below(6); c > 0; --c) {
      table.columns.push_back({"C" + number + '_' + std::to_string(c),
                               &kTypes[random_.below(std::size(kTypes))], newPlace(table)});
    }
    tables_.push_back(std::move(table));
  }
}

Place RandomTables::newPlace(const RandomTable& table) {
  const bool behindElement = !table.columns.empty() && table.columns.back().place == Place::Element;
  if (behindElement && random_.oneIn(3)) return Place::AttributeOfElement;
  return random_.oneIn(2) ? Place::Attribute : Place::Element;
}

bool RandomTables::isChain() const {
  for (size_t i = 1; i < tables_.size(); ++i) {
    if (tables_[i].parent != i - 1) return false;
  }
  return true;
}

std::vector<std::string> RandomTables::definitions() const {
  std::vector<std::string> statements;
  for (size_t i = 0; i < tables_.size(); ++i) {
    const RandomTable& table = tables_[i];
    const std::string key = keyType(textKeys_);
    std::string text =
        "CREATE TABLE " + table.name + " (" + table.key + ' ' + key + " NOT NULL PRIMARY KEY";
    for (const RandomColumn& column : table.columns) {
      text += ", " + column.name + ' ' + column.type->sql;
    }
    if (i > 0) {
      const RandomTable& parent = tables_[table.parent];
      text += ", " + table.foreignKey + ' ' + key + ", FOREIGN KEY (" + table.foreignKey +
              ") REFERENCES " + parent.name + " (" + parent.key + ")";
    }
    statements.push_back(text + ")");
  }
  return statements;
}

// Keys stand in attributes and compare without trailing blanks: both must tell them apart.
std::string RandomTables::newKey() {
  while (true) {
    std::string key = textKeys_ ? hostileText(random_, 40) : wholeNumber(random_, 4);
    if (key.find_first_of("\t\r\n") != std::string::npos || key.empty()) continue;
    if (key.ends_with(' ') || !keys_.insert(key).second) continue;
    return textKeys_ ? sqlText(key) : key;
  }
}

std::string RandomTables::value(const ColumnType& type) {
  if (random_.oneIn(6)) return "NULL";
  switch (type.kind) {
    case ValueKind::Text:
    case ValueKind::Padded:
      return sqlText(hostileText(random_, type.size));
    case ValueKind::Whole:
      return wholeNumber(random_, type.size);
    case ValueKind::Exact:
      return exactNumber(random_, type.size);
    case ValueKind::Day:
      return sqlText(day(random_));
    case ValueKind::Moment:
      return sqlText(moment(random_));
    case ValueKind::Floating:
      return floatingNumber(random_);
  }
  return "NULL";
}

std::string RandomTables::insertRow(size_t index, const std::string& key,
                                    const std::string& parentKey) {
  const RandomTable& table = tables_[index];
  std::string text = "INSERT INTO " + table.name + " VALUES (" + key;
  for (const RandomColumn& column : table.columns) text += ", " + value(*column.type);
  if (index > 0) text += ", " + parentKey;
  return text + ")";
}

std::vector<std::string> RandomTables::inserts() {
  std::vector<std::string> statements;
  std::vector<std::vector<std::string>> keys(tables_.size());
  for (size_t i = 0; i < tables_.size(); ++i) {
    const std::vector<std::string> parents =
        i == 0 ? std::vector<std::string>{""} : keys[tables_[i].parent];
    for (const std::string& parent : parents) {
      for (size_t n = random_.below(4) + (i == 0 ? 1 : 0); n > 0; --n) {
        keys[i].push_back(newKey());
        statements.push_back(insertRow(i, keys[i].back(), parent));
      }
    }
  }
  return statements;
}

std::string RandomTables::joinCondition() const {
  std::string text;
  for (size_t i = 1; i < tables_.size(); ++i) {
    const RandomTable& table = tables_[i];
    const RandomTable& parent = tables_[table.parent];
    text += (i > 1 ? " AND " : "") + parent.name + '.' + parent.key + " = " + table.name + '.' +
            table.foreignKey;
  }
  return text.empty() ? text : "<condition>" + text + "</condition>";
}

std::string RandomTables::mappingByTables() const {
  std::string top = "<RDB_node>";
  for (const RandomTable& table : tables_) {
    top += "<table name='" + table.name + "' key='" + table.key + "' orderBy='" + table.key + "'/>";
  }
  top += joinCondition() + "</RDB_node>";
  return mapping("", TreeText(tables_, top, keyType(textKeys_)).of(0));
}

std::string RandomTables::query() const {
  std::string columns, from = " FROM T0", order;
  for (size_t i = 0; i < tables_.size(); ++i) {
    const RandomTable& table = tables_[i];
    columns += (i > 0 ? ", " : "") + table.key;
    order += (i > 0 ? ", " : " ORDER BY ") + table.key;
    for (const RandomColumn& column : table.columns) columns += ", " + column.name;
    if (i == 0) continue;
    from += " LEFT OUTER JOIN " + table.name + " ON " + table.foreignKey + " = " +
            tables_[table.parent].key;
  }
  return "SELECT " + columns + from + order;
}

std::string RandomTables::mappingByQuery() const {
  return mapping("<SQL_stmt>" + query() + "</SQL_stmt>", TreeText(tables_).of(0));
}

std::string RandomTables::readBack(const std::string& value, const RandomColumn& column) {
  const ValueKind kind = column.type->kind;
  if (kind != ValueKind::Text && kind != ValueKind::Padded) return value;
  std::string text = value;
  replaceAll(text, "\r\n", "\n");
  replaceAll(text, "\r", "\n");
  if (column.place != Place::Element) {
    replaceAll(text, "\n", " ");
    replaceAll(text, "\t", " ");
  }
  if (kind == ValueKind::Padded && value != "NULL") text.resize(column.type->size, ' ');
  return text.empty() ? "NULL" : text;
}

}  // namespace orvxml::test
