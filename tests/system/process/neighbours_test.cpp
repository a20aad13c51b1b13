// poectl beside processes that it must not trust: they flood, drip, are silent, send escape sequences or do
// not read.
#include "tests/support/process/hostile_peer.h"
#include "tests/support/process/listeners.h"
#include "tests/support/process/process_fixture.h"
#include "tests/support/process/started_command.h"
#include "tests/support/process/temporary_directory.h"
#include "tests/support/process/wait_until.h"
#include "tests/system/process/command.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <fcntl.h>

namespace {

constexpr std::uint16_t CONSOLE_PORT = 10001;
constexpr int END_SIGNALS[] = {SIGINT, SIGTERM, SIGQUIT, SIGHUP};

class PoectlNeighbours : public ServiceTest {
protected:
  // Fills a queue of status messages as a service would, so that a scenario begins.
  static void sendStatus() {
    const mqd_t queue = mq_open("/queueToMain", O_WRONLY);
    PoeStatusMessage message{MSGID_STATUS, {}};
    EXPECT_EQ(mq_send(queue, reinterpret_cast<const char*>(&message), sizeof message, 0), 0);
    mq_close(queue);
  }

  // Sends the signal and expects the end at once, without a queue.
  static void expectEnd(StartedCommand& command, int signal) {
    const auto start = std::chrono::steady_clock::now();
    command.send(signal);
    EXPECT_TRUE(WIFEXITED(command.wait())) << signal;
    EXPECT_LT(std::chrono::steady_clock::now() - start, AT_ONCE) << signal;
    EXPECT_FALSE(queueExists("/queueToMain")) << signal;
  }

  const TemporaryDirectory folder;
};

TEST_F(PoectlNeighbours, AReplyByteByByteEndsAtTheDeadline) {
  const HostilePeer console(listenOnPort(CONSOLE_PORT), HostilePeer::drip);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(poectl("console info"), failedWith("the console does not reply in time"));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(15));
}

// The first report is whole, and comes after 6 s.
TEST_F(PoectlNeighbours, ASnapshotOfASlowConsoleEndsAtOneDeadlineForAllReports) {
  const HostilePeer console(listenOnPort(CONSOLE_PORT), [](const HostilePeer& self, int connection) {
    self.hear(connection);
    self.hear(connection);
    for (int wait = 0; wait < 120 && !self.isOver(); wait++) {
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    self.say(connection, "> device status\n  device_id = 2\n  device revision = 1\n  temperature = 40\n"
                         "  thermal shutdown = FALSE\n  dev_error = FALSE\n  device errorcount = 0\n\n> ");
  });
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(poectl("status --from console"),
            (CommandResult{1, "poectl: reads a snapshot with 49 transfers on the chip's bus\n"
                              "poectl: the console does not reply in time\n"}));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(11500));
  EXPECT_EQ(console.connections(), 2U);
}

TEST_F(PoectlNeighbours, AScenarioEndsBySignalsWhileTheConsoleDripsItsReply) {
  const HostilePeer console(listenOnPort(CONSOLE_PORT), HostilePeer::drip);
  const std::string file = folder.write("wait.play", "console info\n");
  for (const int signal : END_SIGNALS) {
    const unsigned before = console.connections();
    StartedCommand play({POECTL, "play", file});
    ASSERT_TRUE(waitUntil([] { return queueExists("/queueToMain"); }));
    sendStatus();
    ASSERT_TRUE(waitUntil([&] { return console.connections() > before; }));
    expectEnd(play, signal);
    EXPECT_NE(play.output().find("Bail out! interrupted by a signal\n"), std::string::npos) << play.output();
  }
}

TEST_F(PoectlNeighbours, AScenarioEndsBySignalsWhileTheCardDripsItsReply) {
  const std::string path = folder.file("card");
  std::atomic<bool> asked{false};
  const HostilePeer card(listenOnPath(path), [&](const HostilePeer& self, int connection) {
    self.hear(connection);
    asked = true;
    HostilePeer::drip(self, connection);
  });
  const std::string file = folder.write("wait.play", "card show\n");
  StartedCommand play({POECTL, "play", file, "--control", path});
  ASSERT_TRUE(waitUntil([] { return queueExists("/queueToMain"); }));
  sendStatus();
  ASSERT_TRUE(waitUntil([&] { return asked.load(); }));
  expectEnd(play, SIGTERM);
}

TEST_F(PoectlNeighbours, WatchEndsBySignalsWhileNobodyReadsItsOutput) {
  for (const int signal : END_SIGNALS) {
    StartedCommand watch({POECTL, "watch", "--json"});
    ASSERT_TRUE(waitUntil([] { return queueExists("/queueToMain"); }));
    const mqd_t queue = mq_open("/queueToMain", O_WRONLY | O_NONBLOCK);
    const PoeStatusMessage message{MSGID_STATUS, {}};
    const auto send = [&] {
      return mq_send(queue, reinterpret_cast<const char*>(&message), sizeof message, 0) == 0;
    };
    // Its pipe is full when it takes no more messages for a while.
    for (auto last = std::chrono::steady_clock::now();
         std::chrono::steady_clock::now() - last < std::chrono::milliseconds(300);) {
      if (send()) {
        last = std::chrono::steady_clock::now();
      }
    }
    mq_close(queue);
    expectEnd(watch, signal);
  }
}

TEST_F(PoectlNeighbours, ACommandLineWithoutEndIsRefused) {
  const CommandResult result = run("head -c 100000 /dev/zero | timeout 20 " POECTL " console");
  EXPECT_EQ(result.output,
            "poectl: standard input: a command is too long; at most 4096 bytes are accepted\n");
  EXPECT_EQ(result.status, 2);
}

} // namespace
