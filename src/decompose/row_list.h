// The rows of one table at one DAD element, until they are inserted. A row is an array of values:
// one per column of the table, then one per foreign key. All values live in one arena that goes
// with the list.
#pragma once

#include <cstdint>
#include <memory_resource>
#include <string_view>
#include <vector>

#include "src/decompose/row_extraction.h"

namespace orvxml {

// A terminated text in the database code page; without a text, the column has no value.
struct Value {
  const char* text = nullptr;
  uint32_t length = 0;
  std::string_view view() const { return {text, length}; }
};

// Where the values of a row come from.
struct RowOrigin {
  const xercesc::DOMElement* begun;                 // the element whose value began the row
  const xercesc::DOMElement* occurrence = nullptr;  // of the top element, the innermost met
  const xercesc::DOMElement** values;               // by column; null: no value yet
};

class RowList {
 public:
  // Origins are kept on request: only a listener asks for them.
  RowList(const tab& table, bool keepsOrigins)
      : columns_(table.num_col), foreignKeys_(table.num_fk), keepsOrigins_(keepsOrigins) {}

  int count() const { return static_cast<int>(rows_.size()); }
  bool full() const { return rows_.size() >= QRK_MAX_ROWS; }
  int width() const { return columns_ + foreignKeys_; }

  Value* row(int index) { return rows_[static_cast<size_t>(index)]; }
  Value* last() { return rows_.back(); }
  // The foreign-key values of a row.
  Value* keys(Value* row) const { return row + columns_; }
  RowOrigin& origin(int index) { return origins_[static_cast<size_t>(index)]; }
  // A new row without any value, for a value of `element`. The caller has checked `full`.
  Value* append(const xercesc::DOMElement* element);
  // A copy of `text` that lives as long as the list.
  Value copy(std::string_view text);

 private:
  int columns_;
  int foreignKeys_;
  bool keepsOrigins_;
  std::pmr::monotonic_buffer_resource arena_;
  std::vector<Value*> rows_;
  std::vector<RowOrigin> origins_;
};

}  // namespace orvxml
