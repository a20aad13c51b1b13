// A system log that is missing, goes away, is not read or has a full disk. syslog(3) is the real one here.
#include "components/PoeDriver/poe_messages.h"
#include "tests/soak/private_devices.h"
#include "tests/soak/stress_fixture.h"
#include "tests/support/process/console_connection.h"
#include "tests/support/process/system_log.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>

namespace {

constexpr std::chrono::seconds A_FEW_CYCLES{3};
constexpr std::chrono::seconds TWO_CYCLES{2};

class SystemLogReader : public StressTest {
protected:
  void SetUp() override {
    const std::string refusal = enterPrivateDevices();
    if (!refusal.empty()) {
      GTEST_SKIP() << "the test cannot have a /dev/log of its own: " << refusal;
    }
  }

  void startPowered() {
    ServiceOptions options;
    options.capturesLog = false;
    StressTest::startPowered(options);
  }

  // A message whose only effect is the line in the log that it costs the main thread.
  static void sendUnknown(std::uint32_t id) { ConfigSender().send(&id, sizeof id); }

  static std::string reportOf(std::uint32_t id) {
    return "<3> [ERROR] main:138 (main) - Unkown msgid " + std::to_string(id) + " received\n";
  }

  // With a limit for bank 7 the worker takes the chip for lost and writes two lines in each cycle.
  static PoeConfig loggingInEachCycle() {
    PoeConfig config = onePort();
    config.bankPowerLimit[7] = 1;
    return config;
  }
};

// Puts lines into the log until no more go in.
unsigned fillLog() {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strcpy(address.sun_path, "/dev/log");
  const FileDescriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  unsigned lines = 0;
  while (sendto(socket.get(), "filler", 6, 0, reinterpret_cast<const sockaddr*>(&address), sizeof address) ==
         6) {
    lines++;
  }
  EXPECT_EQ(errno, EAGAIN);
  return lines;
}

TEST_F(SystemLogReader, MayBeMissingGoAndComeBack) {
  startPowered();
  ConfigSender().send(loggingInEachCycle());
  sendUnknown(1);
  std::this_thread::sleep_for(A_FEW_CYCLES);
  for (std::uint32_t id = 2; id < 4; id++) {
    SystemLog log;
    sendUnknown(id);
    EXPECT_NE(log.takeUntil(reportOf(id), MAX_WAIT).find(reportOf(id)), std::string::npos);
  }
  sendUnknown(4);
  expectPace();
  expectUnharmed();
}

TEST_F(SystemLogReader, ThatDoesNotReadHoldsTheMainThreadWithALineAndTheCycleGoesOn) {
  SystemLog log;
  startPowered();
  log.take();
  measured("lines that a log takes unread", std::to_string(fillLog()));
  sendUnknown(1);
  PoeConfig config = onePort();
  config.bankPowerLimit[0] = 66;
  ConfigSender().send(config);
  std::this_thread::sleep_for(A_FEW_CYCLES);
  expectPace();
  EXPECT_EQ(latest.mainPower, 100U) << "the main thread does not wait for the log";
  EXPECT_NE(askConsole("PD69104Engine info"), "");

  EXPECT_NE(log.takeUntil(reportOf(1), MAX_WAIT).find(reportOf(1)), std::string::npos);
  expectConfigured(config);
  expectUnharmed();
}

TEST_F(SystemLogReader, ThatDoesNotReadHoldsTheCycleAndTheReportsWithALineOfTheWorker) {
  SystemLog log;
  startPowered();
  fillLog();
  ConfigSender().send(loggingInEachCycle());
  std::this_thread::sleep_for(TWO_CYCLES); // of which the first one finds the limit of bank 7
  status->waiting();
  EXPECT_EQ(askConsole("help"), "PD69104Engine\n");
  {
    const ConsoleConnection console(CONSOLE_PORT);
    console.send("PD69104Engine info\n");
    EXPECT_EQ(console.receiveReply(), ""); // the prompt before the line
    std::this_thread::sleep_for(TWO_CYCLES);
    EXPECT_TRUE(status->waiting().empty()) << "the worker does not wait for the log";

    const std::string line = "<6> PD69104 POE chip not initialised, excuting (re)init now!!\n";
    EXPECT_NE(log.takeUntil(line, MAX_WAIT).find(line), std::string::npos);
    EXPECT_NE(console.receiveReply().find("pd69104 Engine"), std::string::npos);
  }
  ConfigSender().send(onePort());
  EXPECT_TRUE(waitForPort0(3));
  log.take();
  expectUnharmed();
}

TEST_F(SystemLogReader, WhoseDiskIsFullCostsNothingAsLongAsItReads) {
  const TemporaryDirectory directory;
  mountSmallDisk(directory.path(), "16k");
  SystemLog log;
  startPowered();
  std::atomic<bool> isOver{false};
  std::atomic<unsigned> lost{0};
  std::thread reader([&] {
    std::ofstream file(directory.file("messages"));
    while (!isOver) {
      file << log.takeUntil("\n", std::chrono::seconds(1)) << std::flush;
      lost += file ? 0 : 1;
      file.clear();
    }
  });
  ConfigSender().send(loggingInEachCycle());
  for (std::uint32_t id = 1; id <= 1000; id++) {
    sendUnknown(id);
  }
  std::this_thread::sleep_for(A_FEW_CYCLES);
  expectPace();
  expectUnharmed();
  isOver = true;
  reader.join();
  EXPECT_GT(lost, 0U) << "the disk was not full";
}

} // namespace
