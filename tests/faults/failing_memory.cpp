#include "tests/faults/failing_memory.h"

#include <cstdlib>
#include <new>

namespace orvxml::test {

namespace {
thread_local long remaining = 0;  // 0: nothing fails
thread_local bool failed = false;
}  // namespace

void armMemory(long countdown) {
  failed = false;
  remaining = countdown;
}

bool disarmMemory() {
  remaining = 0;
  return failed;
}

static void* allocate(std::size_t size) {
  if (remaining > 0 && --remaining == 0) {
    failed = true;
    return nullptr;
  }
  return std::malloc(size == 0 ? 1 : size);
}

}  // namespace orvxml::test

void* operator new(std::size_t size) {
  if (void* memory = orvxml::test::allocate(size)) return memory;
  throw std::bad_alloc();
}
void* operator new[](std::size_t size) {
  return operator new(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return orvxml::test::allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return orvxml::test::allocate(size);
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete[](void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
  std::free(memory);
}

#ifdef __SANITIZE_ADDRESS__
// The parser does not give back what it was building when its memory ran out.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
  return "leak:xercesc_3_2::";
}
#endif
