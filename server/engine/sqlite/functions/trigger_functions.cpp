// What triggers call: SIGNAL, and generate_unique().
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <random>

#include "server/engine/sqlite/functions/function_support.h"

namespace orv::sqlite {
namespace {

constexpr int kTickBytes = 8;
constexpr int kOriginBytes = 5;

// ORV_SIGNAL(sqlstate, text)
void signal(sqlite3_context*, int, sqlite3_value** values) {
  throw SqlError(-438, textArgument(values[0]), {std::string(textArgument(values[1]))});
}

// The time in microseconds, or one more than the last time when that is as late already.
uint64_t nextTick() {
  using namespace std::chrono;
  static std::atomic<uint64_t> last{0};
  const auto now = static_cast<uint64_t>(
      duration_cast<microseconds>(system_clock::now().time_since_epoch()).count());
  uint64_t before = last.load();
  uint64_t tick = 0;
  do {
    tick = std::max(now, before + 1);
  } while (!last.compare_exchange_weak(before, tick));
  return tick;
}

// Differs between processes, those that fork another included.
uint64_t origin() {
  static const uint64_t random = [] {
    std::random_device device;
    return (uint64_t{device()} << 32) | device();
  }();
  return random ^ static_cast<uint64_t>(::getpid());
}

// 13 bytes, which rise in the order of their making within a process.
void generateUnique(sqlite3_context* context, int, sqlite3_value**) {
  std::array<char, kTickBytes + kOriginBytes> bytes{};
  const uint64_t tick = nextTick();
  const uint64_t from = origin();
  for (size_t i = 0; i < bytes.size(); ++i) {
    const uint64_t part =
        i < kTickBytes ? tick >> (8 * (kTickBytes - 1 - i)) : from >> (8 * (bytes.size() - 1 - i));
    bytes[i] = static_cast<char>(part & 0xff);
  }
  setResult(context, ValueView::ofBlob({bytes.data(), bytes.size()}));
}

}  // namespace

// Neither is deterministic for SQLite, which would take the call out of its place.
void registerTriggerFunctions(sqlite3* database, Environment& environment) {
  static constexpr FunctionEntry kEntries[] = {
      {"ORV_SIGNAL", 2, guarded<signal>},
      {"ORV_GENERATE_UNIQUE", 0, guarded<generateUnique>},
  };
  for (const FunctionEntry& entry : kEntries) {
    const int rc = sqlite3_create_function_v2(database, entry.name, entry.arguments,
                                              SQLITE_UTF8 | SQLITE_INNOCUOUS, &environment,
                                              entry.function, nullptr, nullptr, nullptr);
    if (rc != SQLITE_OK) throw failure(database, rc);
  }
}

}  // namespace orv::sqlite
