// The real process's messages: configurations in, status out.
#include "tests/support/process/process_fixture.h"

#include <cstring>
#include <thread>

namespace {

const ServiceOptions PLUGGED = {{"--plug", "0 class=2 watts=6"}, {}};

using Configuration = ServiceTest;

TEST_F(Configuration, MakesAPluggedDeviceReceivePower) {
  startService(PLUGGED);
  ConfigSender().send(onePort());
  ASSERT_TRUE(waitForPort0(3));
  const PoeStatus now = status->next().status;
  EXPECT_EQ(now.mainPower, 100U);
  EXPECT_EQ(now.mainOperStatus, 1U);
  EXPECT_EQ(now.mainConsumption, 6U);
  EXPECT_EQ(now.port[0].powerClassification, 3U);
  EXPECT_EQ(now.port[0].powerConsumption, 6U);
  EXPECT_EQ(now.port[1].operStatus, 1U);
  EXPECT_EQ(outputAfterStart(), "");
}

using Status = ServiceTest;

TEST_F(Status, IsSentOnceASecondAs188BytesThatStartWithSeventeen) {
  startService();
  const auto start = std::chrono::steady_clock::now();
  for (int message = 0; message < 3; message++) {
    const std::vector<char> bytes = status->nextBytes();
    ASSERT_EQ(bytes.size(), 188U);
    std::uint32_t id = 0;
    std::memcpy(&id, bytes.data(), sizeof id);
    EXPECT_EQ(id, 17U);
  }
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
  EXPECT_TRUE(service->isRunning()); // for seconds without a message
  EXPECT_EQ(outputAfterStart(), "");
}

TEST_F(Status, IsReportedOncePerCycleAsNotSentWhileThereIsNoQueueForIt) {
  service = std::make_unique<ServiceProcess>();
  const std::string report = "<3> SWERR ERROR DETECTED: components/PoeDriver/pd69104_engine 925 \n"
                             "<3> mq_open /queueToMain: No such file or directory\n";
  ASSERT_TRUE(service->waitForOutput(report + report));
  status = std::make_unique<MainProcessQueue>();
  EXPECT_EQ(status->next().status.mainOperStatus, 1U);
  std::string expected;
  while (expected.size() < outputAfterStart().size()) {
    expected += report;
  }
  EXPECT_EQ(outputAfterStart(), expected);
}

TEST_F(Status, IsLostWhileTheQueueIsFullAndTheOldOnesAreReadFirst) {
  const std::string lost = "<3> SWERR ERROR DETECTED: components/PoeDriver/pd69104_engine 940 \n"
                           "<3> msgsnd failure: Connection timed out\n";
  status = std::make_unique<MainProcessQueue>(2);
  service = std::make_unique<ServiceProcess>();
  status->next();
  PoeConfig config = onePort();
  ConfigSender().send(config);
  while (status->next().status.mainPower != 100) {
  }

  ASSERT_TRUE(service->waitForOutput(lost)); // two messages with 100 W are in the queue
  config.bankPowerLimit[0] = 50;
  ConfigSender().send(config);
  ASSERT_TRUE(service->waitForOutput(lost + lost)); // the second one would have shown 50 W
  for (const std::uint32_t limit : {100U, 100U, 50U}) {
    EXPECT_EQ(status->next().status.mainPower, limit);
  }
}

} // namespace
