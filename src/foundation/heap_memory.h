// Memory that was allocated with malloc, as the interface's structures want it.
#pragma once

#include <cstdlib>

namespace orvxml {

struct FreeMemory {
  void operator()(void* memory) const { std::free(memory); }
};

}  // namespace orvxml
