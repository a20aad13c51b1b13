// Floods of messages to the service, and a main process that does not read the service's own.
#include "tests/soak/stress_fixture.h"
#include "tests/support/model/random_card.h"
#include "tests/support/process/console_connection.h"

#include <utility>

namespace {

constexpr std::uint64_t SEED = 1;
constexpr std::chrono::seconds A_FEW_CYCLES{3};

using ConfigurationFlood = StressTest;

TEST_F(ConfigurationFlood, EndsWithWhatTheLastOneSays) {
  startPowered();
  const int count = shortOrLong(100, 10000);
  RandomCard random(SEED);
  ConfigSender sender;
  PoeConfig config{};
  int sent = 0;
  const auto start = Clock::now();
  for (; sent < count || Clock::now() < start + A_FEW_CYCLES; sent++) {
    config = random.configuration();
    sender.send(config);
    takeMessages();
  }
  expectPace();
  measured("configurations a second",
           std::to_string(sent / std::chrono::duration<double>(Clock::now() - start).count()));

  expectConfigured(config);
  const bool isTold = waitUntil([&] {
    takeMessages();
    bool isSo = latest.mainPower == std::min(config.bankPowerLimit[0], 161U) && latest.mainOperStatus == 1;
    for (unsigned port = 0; port < 4; port++) {
      isSo = isSo && (latest.port[port].operStatus == 1) == (config.port[port].adminEnable == 0);
    }
    return isSo;
  });
  EXPECT_TRUE(isTold) << "the status does not tell of the last configuration";
  expectUnharmed();
}

TEST_F(ConfigurationFlood, OfUnknownIdsIsReportedLineByLine) {
  startPowered();
  const int count = shortOrLong(3000, 100000);
  ConfigSender sender;
  for (std::uint32_t id = 1; id <= static_cast<std::uint32_t>(count); id++) {
    sender.send(&id, sizeof id);
    takeMessages();
  }
  EXPECT_TRUE(service->waitForOutput("Unkown msgid " + std::to_string(count) + " received\n"));
  expectUnharmed();
  const std::string log = outputAfterStart();
  EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), count);
}

class StoppedReader : public StressTest {
protected:
  unsigned reportsOfAFullQueue() {
    const std::string log = outputAfterStart();
    const std::string report = "msgsnd failure: Connection timed out\n";
    unsigned reports = 0;
    for (std::size_t at = log.find(report); at != std::string::npos; at = log.find(report, at + 1)) {
      reports++;
    }
    return reports;
  }
};

TEST_F(StoppedReader, CostsMessagesAndASecondOfEachCycleAndGetsAFreshStatusAtOnceWhenItReadsAgain) {
  startPowered();
  const unsigned cycles = shortOrLong(2U, 15U);
  const auto begin = Clock::now();
  status->fill();
  PoeConfig config = onePort();
  config.bankPowerLimit[0] = 55;
  ConfigSender().send(config);
  expectConfigured(config); // nobody waits for the reader
  unsigned reports = 0;
  while (reports < cycles) {
    ASSERT_TRUE(waitUntil([&] {
      EXPECT_NE(askConsole("PD69104Engine info"), ""); // the console is free while the cycle waits
      const unsigned before = std::exchange(reports, reportsOfAFullQueue());
      return reports > before;
    })) << reports
        << " messages were lost";
  }
  // One cycle in two seconds, however busy the machine is.
  EXPECT_LE(reports, std::chrono::duration<double>(Clock::now() - begin).count() / 2 + 2);

  while (status->nextBytes().size() != sizeof(PoeStatusMessage)) {
  }
  EXPECT_EQ(status->next().status.mainPower, 55U);
  expectUnharmed();
}

} // namespace
