// The example of a main process in C, with the real service.
#include "tests/support/process/main_process.h"
#include "tests/support/process/service_process.h"
#include "tests/support/process/started_command.h"
#include "tests/support/process/temporary_directory.h"
#include "tests/support/process/wait_until.h"
#include "tests/system/process/command.h"
#include "tests/system/process/pattern.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <sstream>
#include <thread>

namespace {

constexpr uid_t ORDINARY = 54321; // nobody's

class MainProcessInC : public ::testing::Test {
protected:
  // A service of the ordinary user, on a card with a PD in port 0. The test keeps the right to go back to
  // root.
  void startService() {
    ASSERT_EQ(setresgid(ORDINARY, ORDINARY, 0), 0);
    ASSERT_EQ(setresuid(ORDINARY, ORDINARY, 0), 0);
    service = std::make_unique<ServiceProcess>(ServiceOptions{{"--plug", "0 class=2 watts=6"}, {}});
    ASSERT_EQ(setresuid(0, 0, 0), 0);
    ASSERT_EQ(setresgid(0, 0, 0), 0);
  }

  // Waits for a line after the first occurrence of `start`.
  bool waitForLineAfter(const std::string& start, const std::string& line) {
    return waitUntil([&] {
      const std::string& output = program->output();
      const std::size_t place = output.find(start);
      return place != std::string::npos && output.find(line + "\n", place) != std::string::npos;
    });
  }

  // What it did with configurations.
  std::string configurations() {
    std::istringstream lines(program->output());
    std::string text;
    for (std::string line; std::getline(lines, line);) {
      text += line.rfind("configuration", 0) == 0 ? line + "\n" : "";
    }
    return text;
  }

  std::unique_ptr<StartedCommand> program;
  std::unique_ptr<ServiceProcess> service;
};

TEST_F(MainProcessInC, UnderAnyUmaskConfiguresTheServiceOfAnotherUserAndConfiguresItAgainAfterARestart) {
  const std::string sent = "configuration sent\n";
  const std::string again = "configuration sent again: the service does not have it\n";
  if (setresuid(ORDINARY, ORDINARY, 0) != 0) {
    GTEST_SKIP() << "only root can run the service as another user";
  }
  ASSERT_EQ(setresuid(0, 0, 0), 0);
  program = std::make_unique<StartedCommand>(
      std::vector<std::string>{"/bin/sh", "-c", "umask 077; exec " MAIN_PROCESS});
  ASSERT_TRUE(waitUntil([] { return queueExists("/queueToMain"); }));

  startService();
  EXPECT_TRUE(waitForLineAfter(sent, "port 0: DELIVERINGPOWER")) << program->output();
  EXPECT_EQ(configurations(), sent);

  EXPECT_EQ(service->interrupt(), 0);
  startService();
  EXPECT_TRUE(waitForLineAfter(again, "port 0: DELIVERINGPOWER")) << program->output();
  EXPECT_EQ(configurations(), sent + again);

  program->send(SIGTERM);
  EXPECT_EQ(program->wait(), 0) << program->output();
  EXPECT_FALSE(queueExists("/queueToMain"));
}

TEST_F(MainProcessInC, SwitchesAPortOnAgainAndPoectlPortSaysSo) {
  const TemporaryDirectory folder;
  setenv("XDG_RUNTIME_DIR", folder.path().c_str(), 1);
  const std::string file =
      folder.write("card.toml", run(POECTL " example | sed 's/enable = false/enable = true/'").output);
  program = std::make_unique<StartedCommand>(std::vector<std::string>{MAIN_PROCESS});
  ASSERT_TRUE(waitUntil([] { return queueExists("/queueToMain"); }));
  service = std::make_unique<ServiceProcess>(ServiceOptions{{"--plug", "0 class=2 watts=6"}, {}});
  ASSERT_TRUE(waitForLineAfter("configuration sent\n", "port 0: DELIVERINGPOWER")) << program->output();
  const std::string name = "process " + std::to_string(program->pid()) + " \\(main_process\\)";
  const std::string note = "poectl: " + name +
                           " is the main process: its next configuration undoes this one; it may come within "
                           "about 1 s: change the setting there\n";

  // It does not send twice in 3 s.
  const auto untilItMaySend = [] { std::this_thread::sleep_for(std::chrono::milliseconds(3100)); };
  untilItMaySend();
  CommandResult cycle = poectl("port 0 cycle --file " + file);
  // On a busy computer the program may be later than 2 s; then poectl is the first.
  for (int again = 0; again < 2 && cycle.output.find("port 0: on again after 2") != std::string::npos;
       again++) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10100)); // no sooner may a port be cycled again
    cycle = poectl("port 0 cycle --file " + file);
  }
  EXPECT_EQ(cycle.status, 0);
  EXPECT_TRUE(matchesPattern(cycle.output, note +
                                               "port 0: off for at least 2 s\n"
                                               "port 0: it was off; the main process, " +
                                               name + ", has switched it on again after [0-9]\\.[0-9] s\n"))
      << cycle.output;

  untilItMaySend();
  const CommandResult off = poectl("port 0 off --file " + file);
  EXPECT_EQ(off.status, 1);
  EXPECT_TRUE(
      matchesPattern(off.output, note + file +
                                     ":[0-9]+: port 0\n-enable = true\n\\+enable = false\n"
                                     "poectl: undone already: port 0 was off, and the main process, " +
                                     name + ", has switched it on again\n"))
      << off.output;
  unsetenv("XDG_RUNTIME_DIR");
}

} // namespace
