// Memory for what may be very large and seldom is: room for all of it in the address space, of
// which only what is written costs memory. It comes zeroed.
#pragma once

#include <cstddef>

namespace orv {

class ReservedMemory {
 public:
  explicit ReservedMemory(size_t size);  // -954 when the system does not give it
  ~ReservedMemory();
  ReservedMemory(const ReservedMemory&) = delete;
  ReservedMemory& operator=(const ReservedMemory&) = delete;

  char* data() const { return data_; }

 private:
  char* data_;
  size_t size_;
};

}  // namespace orv
