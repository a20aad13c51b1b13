// The unmodified service on the simulated card, killed and started again: samples of what the table says.
#include "tests/faults/power/three_ports.h"
#include "tests/support/process/main_process.h"
#include "tests/support/process/patience.h"
#include "tests/support/process/temporary_directory.h"

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

// Runs tests/faults/power/lives under the simulated card.
class Lives {
public:
  explicit Lives(const std::string& folder) : m_folder(folder), m_pid(fork()) {
    if (m_pid == 0) {
      become();
    }
  }
  Lives(const Lives&) = delete;
  Lives& operator=(const Lives&) = delete;
  ~Lives() {
    kill(m_pid, SIGTERM); // ends the shell, and the card what it has left
    waitpid(m_pid, nullptr, 0);
  }

  bool hasStarted(unsigned life) const { return std::filesystem::exists(started(life)); }
  bool hasEnded(unsigned life) const { return std::filesystem::exists(shown(life)); }

  void signal(unsigned life, int number) const {
    pid_t pid = 0;
    std::ifstream(started(life)) >> pid;
    ASSERT_GT(pid, 0);
    kill(pid, number);
  }

  // The phases of ports 0 to 3 when the life had ended, each with a blank behind it.
  std::string phases(unsigned life) const {
    std::ifstream file(shown(life));
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
  std::string started(unsigned life) const { return m_folder + "/" + std::to_string(life); }
  std::string shown(unsigned life) const { return started(life) + ".card"; }

  [[noreturn]] void become() const {
    if (chdir(m_folder.c_str()) == 0) {
      execl(POE_CARD, POE_CARD, "--control", "card", "--log", "log", "--plug", "0 class=4 watts=22", "--plug",
            "1 class=2 watts=6", "--plug", "2 class=2 watts=6", "--plug", "3 class=1 watts=3", "--", LIVES,
            POE_SERVICE, POECTL, KILL_BEFORE_TRANSFER, nullptr);
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
  Lives m_lives{m_folder.path()};
};

constexpr const char* ALL_THREE = "delivering delivering delivering off ";

TEST_P(KilledService, LeavesThePowerToThePortsUntilTheWriteThatTakesIt) {
  ASSERT_NO_FATAL_FAILURE(configureUntil(deliverAllThree));
  m_lives.signal(1, GetParam());
  // Five lives are killed by themselves; the one after them needs a configuration for that.
  ASSERT_TRUE(waitUntil([&] { return m_lives.hasStarted(6); }));
  EXPECT_EQ(m_lives.phases(1), ALL_THREE);
  EXPECT_EQ(m_lives.phases(2), ALL_THREE) << "killed before transfer 5";
  EXPECT_EQ(m_lives.phases(3), "off delivering delivering off ") << "killed before transfer 6";
  EXPECT_EQ(m_lives.phases(4), "off off delivering off ") << "killed before transfer 8";
  EXPECT_EQ(m_lives.phases(5), "off off off off ") << "killed before transfer 10";
  ASSERT_NO_FATAL_FAILURE(configureUntil([&](const PoeStatus&) { return m_lives.hasEnded(6); }));
  EXPECT_EQ(m_lives.phases(6), "delivering delivering off off ") << "killed in the configuration of port 1";
  ASSERT_NO_FATAL_FAILURE(configureUntil(deliverAllThree));
}

INSTANTIATE_TEST_SUITE_P(Signals, KilledService, ::testing::Values(SIGTERM, SIGKILL),
                         [](const auto& test) { return test.param == SIGTERM ? "SIGTERM" : "SIGKILL"; });

} // namespace
