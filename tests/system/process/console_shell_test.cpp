// "poectl console" for a person: keys, signals and its history.
#include "tests/support/process/command.h"
#include "tests/support/process/hostile_peer.h"
#include "tests/support/process/listeners.h"
#include "tests/support/process/process_fixture.h"
#include "tests/support/process/temporary_directory.h"
#include "tests/support/process/wait_until.h"
#include "tests/system/process/tmux_terminal.h"

#include <chrono>
#include <csignal>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

namespace {

class PoectlShell : public ServiceTest {
protected:
  void SetUp() override {
    if (const std::string refusal = TmuxTerminal::refusal(); !refusal.empty()) {
      GTEST_SKIP() << refusal;
    }
  }

  // A new terminal with the console at its prompt, with its history below the folder.
  void open() {
    terminal.emplace("XDG_STATE_HOME=" + folder.path().string() + " " POECTL " console");
    ASSERT_TRUE(terminal->shows("poe>"));
  }

  void expectEnd() {
    EXPECT_TRUE(terminal->shows("status 0"));
    EXPECT_TRUE(terminal->shows("settings kept"));
  }

  const TemporaryDirectory folder;
  std::optional<TmuxTerminal> terminal;
};

TEST_F(PoectlShell, CompletesWordsOnATerminalAndKeepsAHistory) {
  startService();
  open();
  terminal->press("PD6 Tab"); // the object
  ASSERT_TRUE(terminal->shows("poe> PD69104Engine"));
  terminal->press("chan Tab"); // its command
  ASSERT_TRUE(terminal->shows("poe> PD69104Engine channel"));
  terminal->press("2 Enter");
  EXPECT_TRUE(terminal->shows("  det_status              = UNKNOWN"));
  terminal->press("/etc/passw Tab x");
  EXPECT_TRUE(terminal->shows("poe> /etc/passwx")) << "files are no words of the console";
  terminal->press("C-u quit Enter");
  expectEnd();
  open();
  terminal->press("C-p"); // the line before, from the last time
  EXPECT_TRUE(terminal->shows("poe> PD69104Engine channel 2"));
  terminal->press("C-u C-d"); // clear the line, end of input
  expectEnd();
}

TEST_F(PoectlShell, HasItsHistoryBelowTheHomeWithoutAFolderForStates) {
  for (const std::string without : {"XDG_STATE_HOME=", "--unset=XDG_STATE_HOME"}) {
    const std::string home = folder.file(without);
    terminal.emplace("env " + without + " HOME=" + home + " " POECTL " console");
    ASSERT_TRUE(terminal->shows("poe>")) << without;
    terminal->press("nobody Enter quit Enter");
    expectEnd();
    EXPECT_EQ(access((home + "/.local/state/poectl/console_history").c_str(), R_OK), 0) << without;
  }
}

TEST_F(PoectlShell, TakesTheLineBackAtCtrlCAndGoesOn) {
  startService();
  open();
  terminal->press("nobody C-c");
  terminal->press("'channel 2' Enter");
  EXPECT_TRUE(terminal->shows("  det_status              = UNKNOWN")) << "the line was taken back";
  terminal->press("quit Enter");
  expectEnd();
}

TEST_F(PoectlShell, GivesUpACommandAtCtrlCAndGoesOn) {
  const HostilePeer console(listenOnPort(CONSOLE_PORT), HostilePeer::drip);
  open();
  terminal->press("info Enter");
  ASSERT_TRUE(waitUntil([&] { return console.connections() > 0; }));
  terminal->press("C-c");
  EXPECT_TRUE(terminal->shows("poectl: the console was not waited for: interrupted\npoe>"));
  terminal->press("quit Enter");
  expectEnd();
}

class PoectlShellSignal : public PoectlShell, public ::testing::WithParamInterface<int> {};

TEST_P(PoectlShellSignal, EndsItAtOnceWhateverTheConsoleDoes) {
  const HostilePeer console(listenOnPort(CONSOLE_PORT), HostilePeer::drip);
  for (const bool asks : {false, true}) {
    const unsigned before = console.connections();
    open();
    if (asks) {
      terminal->press("info Enter");
      ASSERT_TRUE(waitUntil([&] { return console.connections() > before; }));
    }
    const auto start = std::chrono::steady_clock::now();
    terminal->signal(GetParam());
    expectEnd();
    EXPECT_LT(std::chrono::steady_clock::now() - start, AT_ONCE);
  }
}

INSTANTIATE_TEST_SUITE_P(Signals, PoectlShellSignal, ::testing::Values(SIGTERM, SIGQUIT, SIGHUP));

TEST_F(PoectlShell, DoesNotWaitForAFifoAsItsHistory) {
  ASSERT_EQ(mkdir(folder.file("poectl").c_str(), 0700), 0);
  ASSERT_EQ(mkfifo(folder.file("poectl/console_history").c_str(), 0600), 0);
  open();
  // The terminal breaks the line.
  EXPECT_TRUE(terminal->shows("no history is kept"));
  terminal->press("quit Enter");
  expectEnd();
}

} // namespace
