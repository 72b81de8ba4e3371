#include "server/session/insert_counts.h"

namespace orv {

size_t InsertCounts::slot(const std::string& table) {
  const auto [at, isNew] = slots_.try_emplace(table, counts_.size());
  if (isNew) counts_.emplace_back(table, 0);
  return at->second;
}

InsertCounts::Mark InsertCounts::mark() const {
  Mark mark;
  mark.reserve(counts_.size());
  for (const auto& [table, rows] : counts_) mark.push_back(rows);
  return mark;
}

// Tables that the mark does not know had no rows when it was taken; a mark from before a reset
// knows more than there is.
void InsertCounts::restore(const Mark& mark) {
  for (size_t i = 0; i < counts_.size(); ++i) counts_[i].second = i < mark.size() ? mark[i] : 0;
}

void InsertCounts::reset() {
  counts_.clear();
  slots_.clear();
  ++generation_;
}

std::vector<std::pair<std::string, int64_t>> InsertCounts::all() const {
  std::vector<std::pair<std::string, int64_t>> tables;
  for (const auto& count : counts_) {
    if (count.second > 0) tables.push_back(count);
  }
  return tables;
}

}  // namespace orv
