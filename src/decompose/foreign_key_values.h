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
#include <vector>

#include "src/decompose/selection.h"
#include "src/decompose/walk_state.h"
#include "src/outcome/failure.h"

namespace orvxml {

class ForeignKeyValues {
 public:
  ForeignKeyValues(WalkState& walk, const tab& table, int tableIndex);

  int count() const { return static_cast<int>(keys_.size()); }
  // Looks up the values of all keys for a row at this element (get_foreign_key_values).
  void lookUp(const Lineage& element);
  // The value of key `k` of the last look-up; good until the next one.
  std::string_view value(int k) const { return keys_[static_cast<size_t>(k)].value(); }
  // Tells the listener of the values of the last look-up, for a row begun at `source`, that were
  // not found where the mapping has them.
  void tellStrays(const xercesc::DOMElement* source) const;

 private:
  // What climbing from `start` gives.
  struct Known {
    const xercesc::DOMNode* start = nullptr;
    std::string value;
    // What a listener wants to know: where the value was found, whether the mapping has it there,
    // and whether the climb had left the element of the parent's row by then.
    const xercesc::DOMElement* holder = nullptr;
    bool isElsewhere = false;
    bool hasLeftRow = false;
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

  void lookUp(Key& key, const Lineage& element);
  void climb(Key& key, Climb& at);
  void remember(Key& key, const xercesc::DOMNode* start, const Climb& at);
  Failure notFound(const Key& key, const Climb& at, const Lineage& element) const;
  bool lookAt(const Key& key, Climb& at);
  void lookAtAttribute(const Key& key, Climb& at);
  void lookAtText(const Key& key, Climb& at);
  bool recall(Key& key, const xercesc::DOMNode* start) const;

  WalkState& walk_;
  int tableIndex_;
  std::vector<Key> keys_;
};

}  // namespace orvxml
