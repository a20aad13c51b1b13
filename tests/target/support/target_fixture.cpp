#include "tests/target/support/target_fixture.h"

#include <csignal>
#include <mqueue.h>

const std::string START_OUTPUT = "Now starting debugServer\n"
                                 "Now starting pd69104\n"
                                 "...Cpd69104Engine::start\n"
                                 "...in CPD69104Engine::run\n";

const std::string START_LOG = "<6> [INFO] main:80 (main) - Card is ready\n"
                              "<6> POE now setting default configuration\n";

void TargetTest::SetUp() {
  insertAdapter();
  chip = std::make_unique<Chip>();
  chip->fill(0);
}

void TargetTest::TearDown() {
  killService();
  status.reset();
  mq_unlink(QUEUE_TO_POE);
  EXPECT_EQ(log.take(), "");
}

void TargetTest::startService(const std::vector<std::string>& commandLine) {
  status.reset(); // with the messages of a service before this one
  status = std::make_unique<MainProcessQueue>();
  service = std::make_unique<Program>(commandLine);
  status->next();
}

void TargetTest::takeMessages(int count) {
  for (int message = 0; message < count; message++) {
    status->next();
  }
}

void TargetTest::killService() {
  if (service && service->isRunning()) {
    kill(service->pid(), SIGTERM);
    EXPECT_EQ(service->wait(), 128 + SIGTERM);
  }
  service.reset();
}

void TargetTest::send(const std::vector<std::uint8_t>& message) {
  ConfigSender().send(message.data(), message.size());
}

void TargetTest::configureScene() {
  chip->write(0x91, SCENE_REGISTERS.at(0x91));
  send(sceneConfigMessage());
  for (int message = 0; message < 5; message++) {
    if (status->next().status.mainPower == 85) {
      return;
    }
  }
  ADD_FAILURE() << "the configuration does not come into force";
}

PoeStatus TargetTest::nextWholeStatus() {
  status->next();
  return status->next().status;
}

std::string TargetTest::withoutReportsOfNoQueue(std::string lines) {
  const std::string report = "<3> SWERR ERROR DETECTED: components/PoeDriver/pd69104_engine 925 \n"
                             "<3> mq_open /queueToMain: No such file or directory\n";
  while (lines.compare(0, report.size(), report) == 0) {
    lines.erase(0, report.size());
  }
  return lines;
}
