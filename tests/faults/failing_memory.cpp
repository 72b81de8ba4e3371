#include "tests/faults/failing_memory.h"

#include <cerrno>
#include <cstdlib>
#include <new>

#ifdef __SANITIZE_ADDRESS__  // which has allocation functions of its own, beside `new`
#define ORVXML_ALLOCATE std::malloc
#else
extern "C" {
void* __libc_malloc(size_t size);                 // NOLINT(bugprone-reserved-identifier)
void* __libc_calloc(size_t count, size_t size);   // NOLINT(bugprone-reserved-identifier)
void* __libc_realloc(void* memory, size_t size);  // NOLINT(bugprone-reserved-identifier)
}
#define ORVXML_ALLOCATE __libc_malloc
#endif

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

static bool failsNow() {
  if (remaining <= 0 || --remaining > 0) return false;
  failed = true;
  errno = ENOMEM;
  return true;
}

static void* allocate(std::size_t size) {
  return failsNow() ? nullptr : ORVXML_ALLOCATE(size == 0 ? 1 : size);
}

}  // namespace orvxml::test

#ifndef __SANITIZE_ADDRESS__
extern "C" {
void* malloc(size_t size) {
  return orvxml::test::failsNow() ? nullptr : __libc_malloc(size);
}
void* calloc(size_t count, size_t size) {
  return orvxml::test::failsNow() ? nullptr : __libc_calloc(count, size);
}
void* realloc(void* memory, size_t size) {
  return orvxml::test::failsNow() ? nullptr : __libc_realloc(memory, size);
}
}
#endif

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
