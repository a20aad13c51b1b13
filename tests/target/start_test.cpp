// The service's start.
#include "tests/target/support/tap_listener.h"
#include "tests/target/support/target_fixture.h"

namespace {

using Start = TargetTest;

TEST_F(Start, WritesItsMilestonesAndNothingElse) {
  startService();
  EXPECT_EQ(service->output(), START_OUTPUT);
  EXPECT_EQ(log.take(), START_LOG);
}

TEST_F(Start, LeadsToAStatusMessageWithinTwoSeconds) {
  const auto begin = std::chrono::steady_clock::now();
  startService();
  const auto duration = std::chrono::steady_clock::now() - begin;
  EXPECT_LT(duration, std::chrono::seconds(2));
  measured("start of the service to its first status message",
           std::to_string(std::chrono::duration_cast<std::chrono::milliseconds>(duration).count()) + " ms");
  EXPECT_EQ(log.take(), START_LOG);
}

TEST_F(Start, SwitchesThePortsOffAndClearsTheBanksAndNothingElse) {
  chip->fill(0x5A);
  startService();
  Registers expected{};
  expected.fill(0x5A);
  expected[0x12] = 0x00;
  for (unsigned bank = 0; bank < 8; bank++) {
    expected[0x89 + bank] = 0;
  }
  expected[0x7F] = 0x58;
  EXPECT_EQ(differences(chip->readAll(), expected), "");
  EXPECT_EQ(log.take(), START_LOG);
}

TEST_F(Start, BeforeThereIsAnAdapterSaysSoInEveryMessageAndAfterARestartTheChipRuns) {
  chip.reset();
  removeAdapter();
  const std::string failedStart = "<6> [INFO] main:80 (main) - Card is ready\n"
                                  "<3> SWERR ERROR DETECTED: components/PoeDriver/pd69104 294 \n"
                                  "<3> Cannot open I2C driver /dev/i2c-0: No such file or directory\n"
                                  "<6> POE now setting default configuration\n";
  startService();
  PoeStatus now = status->next().status;
  EXPECT_EQ(now.mainOperStatus, 3U);
  EXPECT_EQ(now.devError, 1U);
  EXPECT_EQ(log.take(), failedStart);

  insertAdapter();
  now = nextWholeStatus();
  EXPECT_EQ(now.mainOperStatus, 3U) << "the device is opened once, at the start";
  EXPECT_EQ(now.devError, 1U);

  killService();
  startService();
  now = nextWholeStatus();
  EXPECT_EQ(now.mainOperStatus, 1U);
  EXPECT_EQ(now.devError, 0U);
  EXPECT_EQ(log.take(), START_LOG);
}

#ifdef HAS_STATIC_SERVICE
TEST_F(Start, OfTheStaticProgramIsThatOfTheDynamicOne) {
  startService("/static/poe_service");
  EXPECT_EQ(status->next().status.mainOperStatus, 1U);
  EXPECT_EQ(service->output(), START_OUTPUT);
  EXPECT_EQ(log.take(), START_LOG);
}
#endif

} // namespace
