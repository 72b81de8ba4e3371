// The rows of one table at one DAD element, until they are inserted. A row is an array of values:
// one per column of the table, then one per foreign key. All values live in one arena that goes
// with the list.
#pragma once

#include <cstdint>
#include <memory_resource>
#include <string_view>
#include <vector>

#include "orvxml/row_extraction.h"

namespace orvxml {

// A terminated text in the database code page; without a text, the column has no value.
struct Value {
  const char* text = nullptr;
  uint32_t length = 0;
  std::string_view view() const { return {text, length}; }
};

class RowList {
 public:
  explicit RowList(const tab& table) : columns_(table.num_col), foreignKeys_(table.num_fk) {}

  int count() const { return static_cast<int>(rows_.size()); }
  bool full() const { return rows_.size() >= QRK_MAX_ROWS; }
  int width() const { return columns_ + foreignKeys_; }

  Value* row(int index) { return rows_[static_cast<size_t>(index)]; }
  Value* last() { return rows_.back(); }
  // The foreign-key values of a row.
  Value* keys(Value* row) const { return row + columns_; }
  // A new row without any value. The caller has checked `full`.
  Value* append();
  // A copy of `text` that lives as long as the list.
  Value copy(std::string_view text);

 private:
  int columns_;
  int foreignKeys_;
  std::pmr::monotonic_buffer_resource arena_;
  std::vector<Value*> rows_;
};

}  // namespace orvxml
