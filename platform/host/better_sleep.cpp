#include "platform/better_sleep.h"

#include <algorithm>
#include <cerrno>
#include <ctime>

namespace {

// Longer sleeps are cut to this, some 31 years: added to any up time it still fits a time_t of 32 bits.
constexpr double MAX_SLEEP = 1e9;
constexpr long NANOSECONDS_PER_SECOND = 1000000000L;

timespec later(timespec time, double seconds) {
  const auto whole = static_cast<std::time_t>(seconds);
  time.tv_sec += whole;
  time.tv_nsec += static_cast<long>((seconds - static_cast<double>(whole)) * NANOSECONDS_PER_SECOND);
  if (time.tv_nsec >= NANOSECONDS_PER_SECOND) {
    time.tv_nsec -= NANOSECONDS_PER_SECOND;
    ++time.tv_sec;
  }
  return time;
}

} // namespace

void BetterSleep(double seconds) {
  if (!(seconds > 0.0)) { // not "<= 0": that would let NaN through
    return;
  }
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  // An absolute end, so that what a signal handler takes is not added to the sleep.
  const timespec end = later(now, std::min(seconds, MAX_SLEEP));
  while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr) == EINTR) {
  }
}
