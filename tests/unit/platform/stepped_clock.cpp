#include "stepped_clock.h"

#include <atomic>
#include <ctime>

namespace {

std::atomic<bool> g_stopped{false};
// 32 bits: 49 days, and no machine needs a library for it.
std::atomic<std::uint32_t> g_milliseconds{0};

} // namespace

extern "C" int __real_clock_gettime(clockid_t clock, timespec* time);

extern "C" int __wrap_clock_gettime(clockid_t clock, timespec* time) {
  if (clock != CLOCK_MONOTONIC || !g_stopped) {
    return __real_clock_gettime(clock, time);
  }
  const std::uint32_t now = g_milliseconds;
  time->tv_sec = static_cast<std::time_t>(now / 1000);
  time->tv_nsec = static_cast<long>(now % 1000 * 1000000);
  return 0;
}

SteppedClock::SteppedClock(std::uint64_t milliseconds) {
  g_milliseconds = static_cast<std::uint32_t>(milliseconds);
  g_stopped = true;
}

SteppedClock::~SteppedClock() {
  g_stopped = false;
}

void SteppedClock::advance(std::uint64_t milliseconds) {
  g_milliseconds += static_cast<std::uint32_t>(milliseconds);
}
