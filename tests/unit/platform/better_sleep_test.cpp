#include "platform/better_sleep.h"

#include <cerrno>
#include <cmath>
#include <csignal>
#include <limits>

#include <gtest/gtest.h>
#include <sys/time.h>

#include "stepped_clock.h"
#include "system_calls.h"

namespace {

double monotonicSeconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

volatile std::sig_atomic_t g_alarms = 0;

// Disturbs the calling thread every few milliseconds while it exists.
class Alarms {
public:
  Alarms() {
    struct sigaction action {};
    action.sa_handler = [](int) { g_alarms = g_alarms + 1; };
    g_alarms = 0;
    sigaction(SIGALRM, &action, &m_before);
    set(5000);
  }
  Alarms(const Alarms&) = delete;
  Alarms& operator=(const Alarms&) = delete;
  ~Alarms() {
    set(0);
    sigaction(SIGALRM, &m_before, nullptr);
  }

private:
  static void set(suseconds_t period) {
    const itimerval timer{{0, period}, {0, period}};
    setitimer(ITIMER_REAL, &timer, nullptr);
  }

  struct sigaction m_before {};
};

} // namespace

TEST(BetterSleep, SleepsToAnAbsoluteTimeOnTheMonotonicClock) {
  const SteppedClock clock(10250);
  const ScriptedSleep sleep;
  BetterSleep(1.5);
  ASSERT_EQ(sleep.requests().size(), 1U);
  EXPECT_EQ(sleep.requests()[0].clock, CLOCK_MONOTONIC);
  EXPECT_EQ(sleep.requests()[0].flags, TIMER_ABSTIME);
  EXPECT_EQ(sleep.requests()[0].time.tv_sec, 11);
  EXPECT_EQ(sleep.requests()[0].time.tv_nsec, 750000000);
}

TEST(BetterSleep, CarriesOverIntoTheNextSecond) {
  const SteppedClock clock(10750);
  const ScriptedSleep sleep;
  BetterSleep(1.5);
  ASSERT_EQ(sleep.requests().size(), 1U);
  EXPECT_EQ(sleep.requests()[0].time.tv_sec, 12);
  EXPECT_EQ(sleep.requests()[0].time.tv_nsec, 250000000);
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
    ASSERT_EQ(sleep.requests().size(), 1U) << seconds;
    EXPECT_EQ(sleep.requests()[0].time.tv_sec, 1000001000);
    EXPECT_EQ(sleep.requests()[0].time.tv_nsec, 500000000);
  }
}

TEST(BetterSleep, LastsAsLongAsAskedForInSpiteOfSignals) {
  const double begin = monotonicSeconds();
  {
    const Alarms alarms;
    BetterSleep(0.05);
  }
  EXPECT_GE(monotonicSeconds() - begin, 0.05);
  EXPECT_GE(g_alarms, 1);
}
