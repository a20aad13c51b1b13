#include "platform/host/monotonic_clock.h"

#include <ctime>

// The system function itself, not std::chrono: a test can put its own clock in its place at link time.
std::uint64_t monotonicMilliseconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<std::uint64_t>(now.tv_sec) * 1000U + static_cast<std::uint64_t>(now.tv_nsec) / 1000000U;
}
