#include "server/routines/reserved_memory.h"

#include <sys/mman.h>

#include "server/session/session_outcome.h"

namespace orv {

ReservedMemory::ReservedMemory(size_t size) : size_(size) {
  void* const memory = mmap(nullptr, size, PROT_READ | PROT_WRITE,
                            MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (memory == MAP_FAILED) throw SqlError(outOfMemory());
  data_ = static_cast<char*>(memory);
}

ReservedMemory::~ReservedMemory() {
  munmap(data_, size_);
}

}  // namespace orv
