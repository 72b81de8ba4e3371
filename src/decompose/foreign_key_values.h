// The foreign-key values of a row, looked up from the row's document element towards the root.
//
// Rows that follow each other mostly hang below the same few elements, so each key remembers the
// values that it found last, by the element where the climb to them began. A value also depends on
// the join attributes that the walk adds to the document: each addition ends what is remembered.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "src/decompose/document_names.h"
#include "src/decompose/selection.h"

namespace orvxml {

// For each element of a document, the first element of a given tag below it.
class FirstDescendants {
 public:
  explicit FirstDescendants(const xercesc::DOMElement* root) : root_(root) {}
  // Null when `node` has no descendant of that tag.
  const xercesc::DOMNode* find(const xercesc::DOMNode* node, const std::u16string& tag);

 private:
  using Index = std::unordered_map<const xercesc::DOMNode*, const xercesc::DOMNode*>;
  Index build(const std::u16string& tag) const;

  const xercesc::DOMElement* root_;
  std::unordered_map<std::u16string, Index> byTag_;
};

// What the foreign keys of all tables share during one walk over a document.
struct WalkState {
  QrkStruct* ctx;
  rel* relinfo;
  char* msg;
  DocumentOwner owner;  // keeps the document
  DocumentNames names;
  FirstDescendants descendants;
  uint64_t joinAttributes = 0;  // added to the document so far

  Report report() const { return {ctx, msg}; }
};

class ForeignKeyValues {
 public:
  ForeignKeyValues(WalkState& walk, const tab& table, int tableIndex);

  int count() const { return static_cast<int>(keys_.size()); }
  // Looks up the values of all keys for a row at an element with this parent. 0 or the message's
  // code.
  int get_foreign_key_values(const Lineage* parent);
  // The value of key `k` of the last look-up; good until the next one.
  std::string_view value(int k) const { return keys_[static_cast<size_t>(k)].value(); }

 private:
  // What climbing from `start` gives.
  struct Known {
    const xercesc::DOMNode* start = nullptr;
    std::string value;
  };
  struct Key {
    const foreign_key* definition;
    std::u16string xmlName;   // the item that supplies the value
    std::u16string joinName;  // its join attribute
    std::array<Known, 3> known;
    size_t current = 0;           // the one used last
    size_t next = 0;              // the one to be replaced next
    uint64_t joinAttributes = 0;  // of the walk when they were found

    const std::string& value() const { return known[current].value; }
  };
  struct Climb;

  int get_foreign_key_value(Key& key, const Lineage* parent);
  int climb(Key& key, Climb& at);
  int remember(Key& key, const xercesc::DOMNode* start, const Climb& at);
  bool lookAt(const Key& key, Climb& at);
  void lookAtAttribute(const Key& key, Climb& at);
  void lookAtText(const Key& key, Climb& at);
  bool recall(Key& key, const xercesc::DOMNode* start) const;

  WalkState& walk_;
  uint32_t tableBit_;
  std::vector<Key> keys_;
};

}  // namespace orvxml
