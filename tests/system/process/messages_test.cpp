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
  EXPECT_EQ(outputBehindStart(), "");
}

TEST_F(Configuration, IsTakenFromAMessageOf2000Bytes) {
  startService(PLUGGED);
  char message[2000] = {};
  const PoeConfig config = onePort();
  std::memcpy(message + 4, &config, sizeof config);
  ConfigSender().send(message, sizeof message);
  EXPECT_TRUE(waitForPort0(3));
}

TEST_F(Configuration, OfAShortMessageIsCompletedFromTheOneBefore) {
  startService(PLUGGED);
  ConfigSender sender;
  sender.send(onePort());
  ASSERT_TRUE(waitForPort0(3));
  const std::uint32_t idAlone = 0;
  sender.send(&idAlone, sizeof idAlone);
  status->next();
  EXPECT_EQ(status->next().status.port[0].operStatus, 3U);
  EXPECT_EQ(outputBehindStart(), "");
}

TEST_F(Configuration, OfALengthOfZeroIsIgnoredWithoutAReport) {
  startService(PLUGGED);
  ConfigSender sender;
  sender.send("", 0);
  sender.send(onePort());
  EXPECT_TRUE(waitForPort0(3));
  EXPECT_EQ(outputBehindStart(), "");
}

TEST_F(Configuration, OfAnyOtherIdIsReportedAndDropped) {
  startService(PLUGGED);
  ConfigSender sender;
  PoeConfigMessage message{17, onePort()};
  sender.send(&message, sizeof message);
  message.msgId = 0xFFFFFFFF;
  sender.send(&message, sizeof message);
  ASSERT_TRUE(service->waitForOutput("msgid -1"));
  status->next();
  EXPECT_EQ(status->next().status.port[0].operStatus, 1U);
  EXPECT_EQ(outputBehindStart(), "<3> [ERROR] main:138 (main) - Unkown msgid 17 received\n"
                                 "<3> [ERROR] main:138 (main) - Unkown msgid -1 received\n");
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
  EXPECT_EQ(outputBehindStart(), "");
}

TEST_F(Status, IsReportedOncePerCycleAsNotSentWhileThereIsNoQueueForIt) {
  service = std::make_unique<ServiceProcess>();
  const std::string report = "<3> SWERR ERROR DETECTED: components/PoeDriver/pd69104_engine 925 \n"
                             "<3> mq_open /queueToMain: No such file or directory\n";
  ASSERT_TRUE(service->waitForOutput(report + report));
  status = std::make_unique<MainProcessQueue>();
  EXPECT_EQ(status->next().status.mainOperStatus, 1U);
  std::string expected;
  while (expected.size() < outputBehindStart().size()) {
    expected += report;
  }
  EXPECT_EQ(outputBehindStart(), expected);
}

TEST_F(Status, IsLostWhileTheQueueIsFullAndComesAgainWhenItIsRead) {
  startService();
  status->fill();
  ASSERT_TRUE(service->waitForOutput("<3> SWERR ERROR DETECTED: components/PoeDriver/pd69104_engine 940 \n"
                                     "<3> msgsnd failure: Connection timed out\n"));
  EXPECT_TRUE(service->isRunning());
  while (status->nextBytes().size() != 188) {
  }
}

TEST_F(Status, TellsOfAMissingAdapterInEveryMessage) {
  startService({{"--no-adapter"}, {}});
  for (int message = 0; message < 2; message++) {
    const PoeStatus now = status->next().status;
    EXPECT_EQ(now.mainOperStatus, 3U);
    EXPECT_EQ(now.devError, 1U);
  }
  EXPECT_EQ(service->output(), "<6> [INFO] main:80 (main) - Card is ready\n"
                               "Now starting debugServer\n"
                               "<3> SWERR ERROR DETECTED: components/PoeDriver/pd69104 294 \n"
                               "<3> Cannot open I2C driver /dev/i2c-0: No such file or directory\n"
                               "Now starting pd69104\n"
                               "...Cpd69104Engine::start\n"
                               "...in CPD69104Engine::run\n"
                               "<6> POE now setting default configuration\n");
}

TEST_F(Status, TellsOfAnAbsentChipInEveryMessage) {
  startService({{"--absent"}, {}});
  EXPECT_EQ(status->next().status.mainOperStatus, 3U);
  EXPECT_EQ(service->output(), "<6> [INFO] main:80 (main) - Card is ready\n"
                               "Now starting debugServer\n"
                               "Now starting pd69104\n"
                               "...Cpd69104Engine::start\n"
                               "...in CPD69104Engine::run\n"
                               "<3> SWERR ERROR DETECTED: components/PoeDriver/pd69104 2215 \n"
                               "<3> Failed reading device at address 0x43\n"
                               "<6> POE now setting default configuration\n");
}

} // namespace
