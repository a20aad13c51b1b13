// "poectl console" for a person: keys, signals and its history.
#include "tests/support/process/command.h"
#include "tests/support/process/hostile_peer.h"
#include "tests/support/process/listeners.h"
#include "tests/support/process/process_fixture.h"
#include "tests/support/process/temporary_directory.h"
#include "tests/system/process/pseudo_terminal.h"
#include "tests/system/process/pty_terminal.h"

#include <chrono>
#include <csignal>
#include <sys/stat.h>

namespace {

class PoectlShell : public ServiceTest {
protected:
  void SetUp() override {
    if (const std::string refusal = pseudoTerminalRefusal(); !refusal.empty()) {
      GTEST_SKIP() << refusal;
    }
    ServiceTest::SetUp();
  }
};

TEST_F(PoectlShell, CompletesWordsOnATerminalAndKeepsAHistory) {
  startService();
  std::string folder = ::testing::TempDir() + "poectl_XXXXXX";
  ASSERT_NE(mkdtemp(folder.data()), nullptr);
  {
    Terminal terminal(folder);
    ASSERT_TRUE(terminal.shows("poe> "));
    terminal.type("PD6\t"); // the object
    ASSERT_TRUE(terminal.shows("9104Engine "));
    terminal.type("chan\t"); // its command
    ASSERT_TRUE(terminal.shows("nel "));
    terminal.type("2\n");
    EXPECT_TRUE(terminal.shows("  det_status              = UNKNOWN\r\n"));
    EXPECT_TRUE(terminal.shows("poe> "));
    terminal.type("quit\n");
    EXPECT_FALSE(terminal.shows("never shown"));
  }
  {
    Terminal terminal(folder);
    ASSERT_TRUE(terminal.shows("poe> "));
    terminal.type("\x10"); // the line before, from the last time
    EXPECT_TRUE(terminal.shows("PD69104Engine channel 2"));
    terminal.type("\x15\x04"); // clear the line, end of input
    EXPECT_FALSE(terminal.shows("never shown"));
  }
  EXPECT_EQ(run("rm -r " + folder).status, 0);
}

TEST_F(PoectlShell, TakesTheLineBackAtCtrlCAndGoesOn) {
  startService();
  const TemporaryDirectory folder;
  Terminal terminal(folder.path());
  ASSERT_TRUE(terminal.shows("poe> "));
  terminal.type("nobody");
  ASSERT_TRUE(terminal.shows("nobody"));
  terminal.type("\x03");
  terminal.type("channel 2\n");
  EXPECT_TRUE(terminal.shows("  det_status              = UNKNOWN\r\n")) << "the line was taken back";
  terminal.type("quit\n");
  EXPECT_EQ(terminal.waitForEnd(), 0);
}

TEST_F(PoectlShell, GivesUpACommandAtCtrlCAndGoesOn) {
  const HostilePeer console(listenOnPort(CONSOLE_PORT), HostilePeer::drip);
  const TemporaryDirectory folder;
  Terminal terminal(folder.path());
  ASSERT_TRUE(terminal.shows("poe> "));
  terminal.type("info\n");
  ASSERT_TRUE(waitUntil([&] { return console.connections() > 0; }));
  terminal.type("\x03");
  EXPECT_TRUE(terminal.shows("poectl: the console was not waited for: interrupted"));
  EXPECT_TRUE(terminal.shows("poe> "));
  terminal.type("quit\n");
  EXPECT_EQ(terminal.waitForEnd(), 0);
}

class PoectlShellSignal : public PoectlShell, public ::testing::WithParamInterface<int> {};

TEST_P(PoectlShellSignal, EndsItWithinASecondWhateverTheConsoleDoes) {
  const HostilePeer console(listenOnPort(CONSOLE_PORT), HostilePeer::drip);
  const TemporaryDirectory folder;
  for (const char* const line : {"", "info\n"}) {
    Terminal terminal(folder.path());
    const unsigned before = console.connections();
    ASSERT_TRUE(terminal.shows("poe> "));
    terminal.type(line);
    ASSERT_TRUE(waitUntil([&] { return *line == 0 || console.connections() > before; }));
    const auto start = std::chrono::steady_clock::now();
    kill(terminal.pid(), GetParam());
    EXPECT_EQ(terminal.waitForEnd(), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
    EXPECT_TRUE(terminal.echoes()) << "the terminal is given back";
  }
}

INSTANTIATE_TEST_SUITE_P(Signals, PoectlShellSignal, ::testing::Values(SIGTERM, SIGQUIT, SIGHUP));

TEST_F(PoectlShell, DoesNotWaitForAFifoAsItsHistory) {
  const TemporaryDirectory folder;
  const std::string file = folder.file("poectl/console_history");
  ASSERT_EQ(mkdir(folder.file("poectl").c_str(), 0700), 0);
  ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
  Terminal terminal(folder.path());
  EXPECT_TRUE(terminal.shows("is no file of at most 1048576 bytes: no history is kept"));
  ASSERT_TRUE(terminal.shows("poe> "));
  terminal.type("quit\n");
  EXPECT_EQ(terminal.waitForEnd(), 0);
}

} // namespace
