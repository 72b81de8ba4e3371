// The option list that every caller of the bind function passes: type 27, twice.
#pragma once

#include "orv/apie.h"

namespace orvxml {

struct BindOptions {
  sqlopt_header header{2, 2};
  sqlopt_entry option[2]{{27, 0}, {27, 0}};

  const sqlopt* get() const { return reinterpret_cast<const sqlopt*>(this); }
};

}  // namespace orvxml
