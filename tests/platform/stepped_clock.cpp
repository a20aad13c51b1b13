#include "stepped_clock.h"

#include <atomic>
#include <ctime>

namespace {

std::atomic<bool> g_stopped{false};
std::atomic<std::uint64_t> g_milliseconds{0};

} // namespace

extern "C" int __real_clock_gettime(clockid_t clock, timespec* time);

extern "C" int __wrap_clock_gettime(clockid_t clock, timespec* time) {
  if (clock != CLOCK_MONOTONIC || !g_stopped) {
    return __real_clock_gettime(clock, time);
  }
  const std::uint64_t now = g_milliseconds;
  time->tv_sec = static_cast<std::time_t>(now / 1000);
  time->tv_nsec = static_cast<long>(now % 1000 * 1000000);
  return 0;
}

SteppedClock::SteppedClock(std::uint64_t milliseconds) {
  g_milliseconds = milliseconds;
  g_stopped = true;
}

SteppedClock::~SteppedClock() {
  g_stopped = false;
}

void SteppedClock::advance(std::uint64_t milliseconds) {
  g_milliseconds += milliseconds;
}
