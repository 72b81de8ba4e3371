// Conditions that a caller of composition passes in place of those that the mapping gives: each is
// tied by a location path to an element or attribute of the document. The mapping model attaches
// them to the tables of the columns that the paths select.
#pragma once

#include <cstdint>

#include "src/xmlcolumn/location_path.h"

namespace orvxml {

inline constexpr int kMaxOverrides = 128;
inline constexpr int kPredicateSize = 1028;  // bytes, terminator included
// In a predicate: no condition at all.
inline constexpr char16_t K_UC_NO_CONDITION[] = u"NO_CONDITION";

struct override_cond {
  QrkQuery* query;                 // owned; points into path_str
  char predicate[kPredicateSize];  // database code page; empty: the column's condition is removed
  char16_t* path_str;              // owned heap copy, freed with free()
};

struct override_list {
  int32_t count;  // entries in use
  int32_t max;
  int32_t used[kMaxOverrides];  // 1: the path selected a column
  override_cond* cond[kMaxOverrides];
};

}  // namespace orvxml
