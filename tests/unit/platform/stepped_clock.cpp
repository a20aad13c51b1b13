#include "stepped_clock.h"

#include <atomic>
#include <chrono>
#include <ctime>
#include <pthread.h>
#include <thread>

namespace {

std::atomic<bool> g_stopped{false};
std::atomic<unsigned> g_waiting{0};
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

extern "C" int __real_pthread_cond_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                             clockid_t clock, const timespec* end);

// Wakes the caller every millisecond of real time, as a condition may: it looks at the clock itself, and
// nobody signals the condition when a test moves the clock on.
extern "C" int __wrap_pthread_cond_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                             clockid_t clock, const timespec* end) {
  if (clock != CLOCK_MONOTONIC || !g_stopped) {
    return __real_pthread_cond_clockwait(condition, mutex, clock, end);
  }
  timespec soon{};
  __real_clock_gettime(CLOCK_MONOTONIC, &soon);
  soon.tv_nsec += 1000000;
  soon.tv_sec += soon.tv_nsec / 1000000000;
  soon.tv_nsec %= 1000000000;
  g_waiting++;
  __real_pthread_cond_clockwait(condition, mutex, clock, &soon);
  g_waiting--;
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

bool SteppedClock::isWaitedFor() {
  for (int i = 0; i < 10000 && g_waiting == 0; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return g_waiting > 0;
}
