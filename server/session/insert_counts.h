// How many rows each table received in this session, in the order of the first insert. Rows that a
// rollback undid are not counted: a mark is taken where a unit of work or a savepoint begins.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace orv {

class InsertCounts {
 public:
  using Mark = std::vector<int64_t>;

  // The place of a table's count; good until `generation()` changes.
  size_t slot(const std::string& table);
  uint64_t generation() const { return generation_; }
  void add(size_t slot, int64_t rows) { counts_[slot].second += rows; }

  Mark mark() const;
  void restore(const Mark& mark);
  void reset();

  // Tables with rows.
  std::vector<std::pair<std::string, int64_t>> all() const;

 private:
  std::vector<std::pair<std::string, int64_t>> counts_;
  std::unordered_map<std::string, size_t> slots_;
  uint64_t generation_ = 1;
};

}  // namespace orv
