// Tables, rows and mappings made from a seed. The tables form a tree, each below its parent by a
// foreign key; their columns have types of every kind, and are mapped as attributes or as the texts
// of elements. Texts are drawn to do harm: markup, all planes of Unicode, leading and trailing
// blanks, nothing at all, and as much as the column holds.
#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/random.h"

namespace orvxml::test {

// Text of at most `limit` bytes in UTF-8, of characters that XML can carry.
std::string hostileText(Random& random, size_t limit);

enum class ValueKind { Text, Padded, Whole, Exact, Day, Moment, Floating };

struct ColumnType {
  const char* sql;
  ValueKind kind;
  size_t size;  // of Text and Padded, in bytes
};

enum class Place { Attribute, Element, AttributeOfElement };  // the last: of the column before

struct RandomColumn {
  std::string name;
  const ColumnType* type;
  Place place;
};

struct RandomTable {
  size_t parent;       // its place among the tables; the first table is its own
  bool isWrapped;      // an element without values stands around its element
  bool childrenFirst;  // before the columns that are texts of elements
  std::string name, key, foreignKey, element;
  std::vector<RandomColumn> columns;
};

class RandomTables {
 public:
  explicit RandomTables(uint32_t seed);

  const std::vector<RandomTable>& tables() const { return tables_; }
  // Whether every table is below the one before it, as SQL mapping can have it.
  bool isChain() const;

  std::vector<std::string> definitions() const;
  std::vector<std::string> inserts();
  std::string mappingByTables() const;
  std::string mappingByQuery() const;

  // What a value reads back as after it stood in a document: the format has no null, and gives
  // every line end as a line feed; attributes have neither line ends nor tabs.
  static std::string readBack(const std::string& value, const RandomColumn& column);

 private:
  std::string insertRow(size_t table, const std::string& key, const std::string& parentKey);
  std::string value(const ColumnType& type);
  Place newPlace(const RandomTable& table);
  std::string newKey();
  std::string query() const;
  std::string joinCondition() const;

  Random random_;
  bool textKeys_;
  std::set<std::string> keys_;
  std::vector<RandomTable> tables_;
};

}  // namespace orvxml::test
