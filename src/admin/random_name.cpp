#include "src/admin/random_name.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <mutex>
#include <string_view>

namespace orvxml {

std::array<char, kNameCharacters> scrambleTableOfCharacters;

namespace {

constexpr std::string_view tableOfCharacters = "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
static_assert(tableOfCharacters.size() == kNameCharacters);
static_assert(RAND_MAX == 0x7FFFFFFF);

// A random number from 0 to `limit` - 1.
size_t randomBelow(size_t limit) {
  return (limit * static_cast<size_t>(std::rand())) >> 31;
}

unsigned secondsNow() {
  return static_cast<unsigned>(std::time(nullptr));
}

}  // namespace

int qrkGetProcessID() {
  return static_cast<int>(getpid());
}

void scrambleTable() {
  scrambleTableOfCharacters.fill('\0');
  for (size_t placed = 0; placed < kNameCharacters;) {
    const char candidate = tableOfCharacters[randomBelow(kNameCharacters)];
    const auto end = scrambleTableOfCharacters.begin() + static_cast<std::ptrdiff_t>(placed);
    if (std::find(scrambleTableOfCharacters.begin(), end, candidate) != end) continue;
    scrambleTableOfCharacters[placed++] = candidate;
  }
}

void callRandOnce(QrkStruct*) {
  static std::once_flag seeded;
  std::call_once(seeded, [] {
    std::srand(static_cast<unsigned>(qrkGetProcessID()) + secondsNow());
    const auto first = static_cast<unsigned>(std::rand());
    scrambleTable();
    std::srand(first + secondsNow());
  });
}

void qrk_GetRandName(QrkStruct* ctx, char* buf, int n) {
  callRandOnce(ctx);
  const auto size = static_cast<size_t>(std::max(n, 0));
  std::fill_n(buf, size, '\0');
  for (size_t filled = 0; filled < size;) {
    const size_t position = randomBelow(size);
    const char character = scrambleTableOfCharacters[randomBelow(kNameCharacters)];
    if (buf[position] != '\0') continue;
    buf[position] = character;
    ++filled;
  }
}

}  // namespace orvxml
