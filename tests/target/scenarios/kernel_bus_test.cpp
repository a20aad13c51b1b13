// What a kernel adds between the service and the chip: errors of its bus driver, transfers that do not end,
// other programs. The chip is the simulated card outside of the machine.
#include "tests/target/scenarios/kernel_bus.h"
#include "tests/target/support/tap_listener.h"

#include <cerrno>
#include <thread>

#include <unistd.h>

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

TEST_F(KernelBus, RefusesATransferWithEio) {
  EXPECT_EQ(errorOfRead(0x43), 0);
  card("bus dead");
  EXPECT_EQ(errorOfRead(0x43), EIO);
  card("bus ok");
  EXPECT_EQ(errorOfRead(0x43), 0);
}

TEST_F(KernelBus, ThatAnswers10MillisecondsLateMakesCyclesLongerAndKeepsThePower) {
  startWithAPoweredPort();
  card("bus late 10");
  nextWholeStatus();
  const milliseconds cycle = timeOf([this] { status->next(); });
  EXPECT_GE(cycle, milliseconds(1640)); // 64 transfers and the pause
  EXPECT_TRUE(isPowered());
  EXPECT_EQ(log.take(), "");
  measured("cycle with transfers that are 10 ms late", std::to_string(cycle.count()) + " ms");
}

TEST_F(KernelBus, ThatHangsStopsTheStatusUntilItAnswersAndKeepsThePower) {
  const std::pair<const char*, seconds> rows[] = {
      {"bus late 1000", seconds(4)},
      {"bus late 30000", seconds(31)}}; // the second, until one has ended by itself
  for (const auto& [late, time] : rows) {
    startWithAPoweredPort();
    card(late);
    std::this_thread::sleep_for(seconds(4));
    status->waiting();
    std::this_thread::sleep_for(time);
    EXPECT_TRUE(status->waiting().empty()) << late;
    EXPECT_TRUE(isPowered()) << late;
    card("bus ok");
    EXPECT_EQ(status->next().status.mainOperStatus, 1U) << late;
    EXPECT_TRUE(isPowered()) << late;
    EXPECT_EQ(log.take(), "") << late;
    endServiceInItsSleep();
    card("power-cycle");
  }
}

// The limit of the watchdog is a minute without a whole cycle, whether one transfer hangs or each of 64 is
// late.
TEST_F(KernelBus, ThatHangsForAMinuteIsReportedByTheWatchdogAndNeedsNoRestart) {
  for (const char* late : {"bus late 1000", "bus late 60000"}) {
    startWithAPoweredPort();
    card(late);
    const std::string report = "<2> watchdog client PoeEngine not fed for 6";
    const std::string reported = log.takeUntil(report, seconds(80));
    EXPECT_NE(reported.find(report), std::string::npos) << reported;
    EXPECT_TRUE(isPowered()) << late;
    card("bus ok");
    const std::string fed = "<2> watchdog client PoeEngine fed again after 6";
    EXPECT_NE(log.takeUntil(fed, MAX_WAIT).find(fed), std::string::npos) << late;
    EXPECT_EQ(status->next().status.mainOperStatus, 1U) << late;
    EXPECT_TRUE(isPowered()) << late;
    endServiceInItsSleep();
    card("power-cycle");
  }
}

TEST_F(KernelBus, ServesASecondProgramBesideTheService) {
  startWithAPoweredPort();
  for (int round = 0; round < 3; round++) {
    for (unsigned reg = 0; reg <= 0xCE; reg++) {
      EXPECT_EQ(errorOfRead(static_cast<std::uint8_t>(reg)), 0) << reg;
    }
  }
  EXPECT_EQ(nextWholeStatus().mainOperStatus, 1U);
  EXPECT_TRUE(isPowered());
  EXPECT_EQ(log.take(), "");
}

#ifdef HAS_I2C_TOOLS
TEST_F(KernelBus, ServesI2cgetAndI2cdumpBesideTheService) {
  startWithAPoweredPort();
  const Result got = run({"/bin/i2cget", "-y", "0", "0x20", "0x12"});
  EXPECT_EQ(got.output, "0xcf\n");
  const Result dump = run({"/bin/i2cdump", "-y", "-r", "0x00-0xce", "0", "0x20", "b"});
  EXPECT_EQ(dump.status, 0) << dump.output;
  EXPECT_NE(dump.output.find("\n10: "), std::string::npos) << dump.output;
  EXPECT_EQ(dump.output.find("XX"), std::string::npos) << dump.output;
  EXPECT_EQ(nextWholeStatus().mainOperStatus, 1U);
  EXPECT_TRUE(isPowered());
  EXPECT_EQ(log.take(), "");
}
#endif

} // namespace
