#include "tests/faults/lock_waits.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <ctime>
#include <utility>

namespace orvxml::test {

namespace {

constexpr long kSecond = 1'000'000'000;  // in nanoseconds

bool isWatched = false;
std::function<void()> told;
long skipped = 0;  // nanoseconds that would have been slept

int sleepFor(const timespec& time) {
  if (!isWatched) return static_cast<int>(::syscall(SYS_nanosleep, &time, nullptr));
  skipped += time.tv_sec * kSecond + time.tv_nsec;
  if (told) std::exchange(told, nullptr)();
  return 0;
}

int now(clockid_t clock, timespec* time) {
  const int rc = static_cast<int>(::syscall(SYS_clock_gettime, clock, time));
  if (rc != 0 || clock != CLOCK_MONOTONIC) return rc;
  const long nanoseconds = time->tv_nsec + skipped % kSecond;
  time->tv_sec += skipped / kSecond + nanoseconds / kSecond;
  time->tv_nsec = nanoseconds % kSecond;
  return 0;
}

}  // namespace

void watchWaits(std::function<void()> onWait) {
  isWatched = true;
  told = std::move(onWait);
}

}  // namespace orvxml::test

#pragma GCC visibility push(default)
extern "C" {
int nanosleep(const timespec* time, timespec*) {
  return orvxml::test::sleepFor(*time);
}
int usleep(useconds_t microseconds) {
  return orvxml::test::sleepFor({microseconds / 1'000'000, microseconds % 1'000'000 * 1000L});
}
int clock_gettime(clockid_t clock, timespec* time) noexcept {
  return orvxml::test::now(clock, time);
}
}
#pragma GCC visibility pop
