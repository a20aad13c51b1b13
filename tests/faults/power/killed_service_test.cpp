// The unmodified service on the simulated card, killed and started again: samples of what the table says.
#include "tests/faults/power/three_ports.h"
#include "tests/support/process/main_process.h"
#include "tests/support/process/temporary_directory.h"
#include "tests/support/process/wait_until.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <regex>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// Runs tests/faults/power/service_runs under the simulated card.
class ServiceRuns {
public:
  explicit ServiceRuns(const std::string& folder) : m_folder(folder), m_pid(fork()) {
    if (m_pid == 0) {
      become();
    }
  }
  ServiceRuns(const ServiceRuns&) = delete;
  ServiceRuns& operator=(const ServiceRuns&) = delete;
  ~ServiceRuns() {
    kill(m_pid, SIGTERM); // ends the shell, and the card what it has left
    waitpid(m_pid, nullptr, 0);
  }

  bool hasStarted(unsigned run) const { return std::filesystem::exists(started(run)); }
  bool hasEnded(unsigned run) const { return std::filesystem::exists(shown(run)); }

  void signal(unsigned run, int number) const {
    pid_t pid = 0;
    std::ifstream(started(run)) >> pid;
    ASSERT_GT(pid, 0);
    kill(pid, number);
  }

  // The phases of ports 0 to 3 when the run had ended, each followed by a blank.
  std::string phases(unsigned run) const {
    std::ifstream file(shown(run));
    std::string text;
    for (std::string line; std::getline(file, line);) {
      std::smatch match;
      if (std::regex_search(line, match, std::regex("phase=([a-z-]+)"))) {
        text += match[1].str() + " ";
      }
    }
    return text;
  }

private:
  std::string started(unsigned run) const { return m_folder + "/" + std::to_string(run); }
  std::string shown(unsigned run) const { return started(run) + ".card"; }

  [[noreturn]] void become() const {
    if (chdir(m_folder.c_str()) == 0) {
      execl(POE_CARD, POE_CARD, "--control", "card", "--log", "log", "--plug", "0 class=4 watts=22", "--plug",
            "1 class=2 watts=6", "--plug", "2 class=2 watts=6", "--plug", "3 class=1 watts=3", "--",
            SERVICE_RUNS, POE_SERVICE, POECTL, KILL_BEFORE_TRANSFER, nullptr);
    }
    _exit(126);
  }

  const std::string m_folder;
  const pid_t m_pid;
};

class KilledService : public ::testing::TestWithParam<int> {
protected:
  // Sends the configuration after each status message, as long as `isDone` of the message is false.
  void configureUntil(const std::function<bool(const PoeStatus&)>& isDone) {
    for (int message = 0; message < 15; message++) {
      const PoeStatus status = m_status.next().status;
      if (isDone(status)) {
        return;
      }
      ConfigSender().send(threePorts());
    }
    FAIL() << "15 messages were not enough";
  }

  static bool deliverAllThree(const PoeStatus& status) {
    return status.port[0].operStatus == 3 && status.port[1].operStatus == 3 && status.port[2].operStatus == 3;
  }

  TemporaryDirectory m_folder;
  MainProcessQueue m_status;
  ServiceRuns m_runs{m_folder.path()};
};

constexpr const char* ALL_THREE = "delivering delivering delivering off ";

TEST_P(KilledService, LeavesThePowerToThePortsUntilTheWriteThatTakesIt) {
  ASSERT_NO_FATAL_FAILURE(configureUntil(deliverAllThree));
  m_runs.signal(1, GetParam());
  // Five runs are killed by themselves; the one after them needs a configuration for that.
  ASSERT_TRUE(waitUntil([&] { return m_runs.hasStarted(6); }));
  EXPECT_EQ(m_runs.phases(1), ALL_THREE);
  EXPECT_EQ(m_runs.phases(2), ALL_THREE) << "killed before transfer 5";
  EXPECT_EQ(m_runs.phases(3), "off delivering delivering off ") << "killed before transfer 6";
  EXPECT_EQ(m_runs.phases(4), "off off delivering off ") << "killed before transfer 8";
  EXPECT_EQ(m_runs.phases(5), "off off off off ") << "killed before transfer 10";
  ASSERT_NO_FATAL_FAILURE(configureUntil([&](const PoeStatus&) { return m_runs.hasEnded(6); }));
  EXPECT_EQ(m_runs.phases(6), "delivering delivering off off ") << "killed in the configuration of port 1";
  ASSERT_NO_FATAL_FAILURE(configureUntil(deliverAllThree));
}

INSTANTIATE_TEST_SUITE_P(Signals, KilledService, ::testing::Values(SIGTERM, SIGKILL),
                         [](const auto& test) { return test.param == SIGTERM ? "SIGTERM" : "SIGKILL"; });

} // namespace
