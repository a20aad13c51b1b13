// What the tests of a machine share: the chip, the log, the main process's queues and the real service.
#pragma once

#include "tests/support/process/main_process.h"
#include "tests/support/process/message_scene.h"
#include "tests/support/process/system_log.h"
#include "tests/target/support/chip.h"
#include "tests/target/support/program.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>

extern const std::string START_OUTPUT;
extern const std::string START_LOG;

// Every test starts with a chip that holds 0 in all registers and no service. A line in the log that the test
// has not taken makes it fail.
class TargetTest : public ::testing::Test {
protected:
  static constexpr char SERVICE[] = "/bin/poe_service";

  void SetUp() override;
  void TearDown() override;

  // Creates "/queueToMain", starts the service and waits for its first status message.
  void startService(const std::vector<std::string>& commandLine = {SERVICE});

  // Takes this number of status messages.
  void takeMessages(int count);

  // Kills the service, as the card ends it. Its queue stays.
  void killService();

  // Sends a message to the service as bytes.
  static void send(const std::vector<std::uint8_t>& message);

  // Sends the scene's configuration and takes status messages until it is in force.
  void configureScene();

  // The next status message, or the one after it when that was begun before this call.
  PoeStatus nextWholeStatus();

  // The log without the reports at its start that there is no "/queueToMain": before and after poectl there
  // is none.
  static std::string withoutReportsOfNoQueue(std::string lines);

  std::unique_ptr<Chip> chip;
  SystemLog log;
  std::unique_ptr<MainProcessQueue> status;
  std::unique_ptr<Program> service;
};
