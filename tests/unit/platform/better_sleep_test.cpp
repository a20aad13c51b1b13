#include "platform/better_sleep.h"

#include <cerrno>
#include <cstdint>
#include <limits>
#include <tuple>

#include <gtest/gtest.h>

#include "stepped_clock.h"
#include "system_calls.h"

namespace {

// That the sleep asks once for this time on the monotonic clock.
void expectSleepTo(const ScriptedSleep& sleep, std::time_t seconds, long nanoseconds) {
  ASSERT_EQ(sleep.requests().size(), 1U);
  EXPECT_EQ(sleep.requests()[0].clock, CLOCK_MONOTONIC);
  EXPECT_EQ(sleep.requests()[0].flags, TIMER_ABSTIME);
  EXPECT_EQ(sleep.requests()[0].time.tv_sec, seconds);
  EXPECT_EQ(sleep.requests()[0].time.tv_nsec, nanoseconds);
}

} // namespace

TEST(BetterSleep, SleepsToAnAbsoluteTimeOnTheMonotonicClockAndCarriesOverIntoTheNextSecond) {
  const std::tuple<std::uint64_t, std::time_t, long> rows[] = {{10250, 11, 750000000},
                                                               {10750, 12, 250000000}};
  for (const auto& [now, seconds, nanoseconds] : rows) {
    const SteppedClock clock(now);
    const ScriptedSleep sleep;
    BetterSleep(1.5);
    expectSleepTo(sleep, seconds, nanoseconds);
  }
}

TEST(BetterSleep, GoesOnToTheSameEndAfterEachSignal) {
  const SteppedClock clock(10000);
  const ScriptedSleep sleep({EINTR, EINTR});
  BetterSleep(1.0);
  ASSERT_EQ(sleep.requests().size(), 3U);
  for (const ScriptedSleep::Request& request : sleep.requests()) {
    EXPECT_EQ(request.time.tv_sec, 11);
    EXPECT_EQ(request.time.tv_nsec, 0);
  }
}

TEST(BetterSleep, GivesUpOnAnyOtherError) {
  const ScriptedSleep sleep({EINVAL});
  BetterSleep(1.0);
  EXPECT_EQ(sleep.requests().size(), 1U);
}

TEST(BetterSleep, OfNoTimeReturnsAtOnce) {
  constexpr double INFINITE = std::numeric_limits<double>::infinity();
  for (const double seconds :
       {0.0, -0.0, -1.0, -1e300, -INFINITE, std::numeric_limits<double>::quiet_NaN()}) {
    const ScriptedSleep sleep;
    BetterSleep(seconds);
    EXPECT_EQ(sleep.requests().size(), 0U) << seconds;
  }
}

TEST(BetterSleep, OfAVeryLongTimeIsCutToOneThatFitsThirtyTwoBits) {
  for (const double seconds : {1.5e9, 1e300, std::numeric_limits<double>::infinity()}) {
    const SteppedClock clock(1000500);
    const ScriptedSleep sleep;
    BetterSleep(seconds);
    expectSleepTo(sleep, 1000001000, 500000000);
  }
}
