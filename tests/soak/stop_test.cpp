// The whole service stopped and continued, as a debugger or an overloaded machine does it.
#include "tests/soak/stress_fixture.h"

#include <csignal>
#include <thread>

namespace {

using StoppedService = StressTest;

constexpr std::chrono::seconds WATCHDOG_TIMEOUT{60};

TEST_F(StoppedService, GoesOnWithItsCycleAndThePortsHaveKeptTheirPower) {
  startPowered();
  const std::chrono::seconds stop = shortOrLong(std::chrono::seconds(3), std::chrono::seconds(63));
  ASSERT_EQ(kill(service->pid(), SIGSTOP), 0);
  std::this_thread::sleep_for(std::chrono::milliseconds(500)); // until each thread has stopped
  status->waiting();
  std::this_thread::sleep_for(stop);
  EXPECT_TRUE(status->waiting().empty()) << "the service was not stopped";
  EXPECT_NE(card().ask("show").find("port 0: device=good class=2 watts=6 phase=delivering"),
            std::string::npos);

  ASSERT_EQ(kill(service->pid(), SIGCONT), 0);
  const PoeStatus next = status->next().status;
  EXPECT_EQ(next.mainOperStatus, 1U);
  EXPECT_EQ(next.port[0].operStatus, 3U);
  EXPECT_EQ(next.port[0].powerDeniedCounter, 0U);
  EXPECT_EQ(next.port[0].underLoadCounter, 0U);

  const std::string client = "<2> watchdog client ";
  if (stop > WATCHDOG_TIMEOUT) {
    for (const char* const name : {"PoeMain", "PoeEngine"}) {
      EXPECT_TRUE(service->waitForOutput(client + name + " not fed for 6"));
      EXPECT_TRUE(service->waitForOutput(client + name + " fed again after 6"));
    }
  } else {
    EXPECT_EQ(outputAfterStart(), "");
  }
  expectUnharmed();
}

} // namespace
