// The replaced system functions must reach the platform's objects; where they do not, the other tests prove
// nothing.
#include <cerrno>

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <syslog.h>

#include "platform/better_sleep.h"
#include "platform/host/console/console_listener.h"
#include "platform/host/monotonic_clock.h"
#include "stepped_clock.h"
#include "system_calls.h"
#include "tests/support/doubles/log_capture.h"

TEST(Seams, LogLinesOfThePlatformAreCaptured) {
  const FailingFamily noSockets(AF_INET, FailingFamily::Call::SOCKET, EACCES);
  EXPECT_FALSE(Zorvan::listenOnLoopback(AF_INET, 1234).isOpen());
  EXPECT_EQ(
      takeLog(),
      (LogLines{{LOG_ERR, "debug console: cannot listen on 127.0.0.1 port 1234: Permission denied\n"}}));
}

TEST(Seams, ThePlatformsClockAndSleepAreTheTests) {
  const SteppedClock clock(5000);
  const ScriptedSleep sleep;
  SteppedClock::advance(1234);
  EXPECT_EQ(monotonicMilliseconds(), 6234U);
  BetterSleep(0.01);
  EXPECT_EQ(sleep.requests().size(), 1U);
}

TEST(Seams, ThePlatformsClockIsTheRealOneOtherwise) {
  timespec before{};
  clock_gettime(CLOCK_MONOTONIC, &before);
  const std::uint64_t now = monotonicMilliseconds();
  timespec after{};
  clock_gettime(CLOCK_MONOTONIC, &after);
  EXPECT_GE(now, static_cast<std::uint64_t>(before.tv_sec) * 1000);
  EXPECT_LT(now, static_cast<std::uint64_t>(after.tv_sec + 1) * 1000);
}
