#include "components/PoeDriver/pd69104_engine.h"
#include "tests/soak/random_run.h"
#include "tests/support/doubles/log_capture.h"
#include "tests/support/doubles/platform_doubles.h"
#include "tests/support/doubles/posix_doubles.h"

#include <atomic>
#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

// Bytes: the threads are in the middle of their commands.
constexpr std::size_t HEAP_ROOM = 1048576;
constexpr std::uint64_t CALM = 3; // cycles after which a healed service must be right

class ThreadedRun : RandomRun {
public:
  explicit ThreadedRun(const RunOptions& options) : RandomRun(options, HEAP_ROOM) {}

  bool run() {
    m_card.passOneSecond();
    m_engine.start();
    onSleep([&](double /*seconds*/) { afterCycle(); });
    m_posix.runThread();
    onSleep({});
    if (m_isGood) {
      std::printf("seed %" PRIu64 ": %" PRIu64 " cycles, %" PRIu32 " configurations and %" PRIu32
                  " console commands from other threads\n",
                  m_options.seed, m_cycle, m_configurations.load(), m_commands.load());
      printEventsAndFootprint();
    }
    return m_isGood;
  }

private:
  // Runs on the worker's thread, in the place of its sleep.
  void afterCycle() {
    m_cycle++;
    checkCycle();
    takeWatchdogEvents();
    m_bus.takeTransfers();
    m_posix.calls.clear();
    takeLog();
    if (m_cycle == 1) {
      startThreads();
    }
    weigh();
    if (m_cycle < m_options.cycles) {
      letOthersAct();
      m_card.passOneSecond();
      showProgress();
    } else if (m_cycle == m_options.cycles) {
      joinThreads();
      m_card.calmDown();
    } else if (m_cycle == m_options.cycles + CALM) {
      checkCalm();
      m_engine.stop();
    } else {
      m_card.calmDown();
    }
  }

  // Each cycle has sent one message, whatever the other threads do.
  void checkCycle() {
    const std::size_t messages = m_posix.messages.size();
    m_status = m_posix.lastMessage().status;
    m_posix.messages.clear();
    expectNothing(messages == 1 ? m_invariants.check(m_status)
                                : std::to_string(messages) + " messages came in a cycle\n");
  }

  // Without a real second between two cycles the worker would leave the mutex to nobody.
  void letOthersAct() const {
    const std::uint32_t before = m_configurations + m_commands;
    while (m_configurations + m_commands == before) {
      std::this_thread::yield();
    }
  }

  void checkCalm() {
    m_invariants.stored(m_stored);
    std::string wrong = m_invariants.checkHealthy(m_status);
    wrong += m_card.isCycleHealthy() ? "" : "the calm is not calm\n";
    wrong += m_status.mainOperStatus == 1 ? "" : "the chip is not told to be running\n";
    expectNothing(wrong);
  }

  void startThreads() {
    m_threads.emplace_back([&] { sendConfigurations(); });
    m_threads.emplace_back([&] { useConsole(1); });
    m_threads.emplace_back([&] { useConsole(2); });
  }

  void joinThreads() {
    m_isOver = true;
    for (std::thread& thread : m_threads) {
      thread.join();
    }
    m_threads.clear();
  }

  void sendConfigurations() {
    while (!m_isOver) {
      const PoeConfig config = m_card.configuration();
      m_engine.handleConfig(&config, sizeof config);
      m_stored = config;
      m_configurations++;
      giveWay();
    }
  }

  void useConsole(unsigned seed) {
    static const std::vector<std::vector<const char*>> COMMANDS = {
        {"help"},           {"info"},
        {"device"},         {"channel", "1"},
        {"poeport", "2"},   {"readReg", "0x43"},
        {"readReg", "300"}, {"writeReg", "0x20", "7"},
        {"unknown"}};
    std::mt19937 random(seed);
    char reply[8192];
    while (!m_isOver) {
      const auto& command = COMMANDS[random() % COMMANDS.size()];
      m_engine.dbgCommand(static_cast<std::uint32_t>(command.size()), command.data(), reply, sizeof reply);
      m_commands++;
      giveWay();
    }
  }

  // As the console server does after a command: on a busy machine the worker would not get the mutex
  // otherwise.
  static void giveWay() { std::this_thread::sleep_for(std::chrono::microseconds(20)); }

  I2cBus m_bus{m_card};
  PosixDoubles m_posix;
  CPD69104Engine m_engine;
  std::vector<std::thread> m_threads;
  std::atomic<bool> m_isOver{false};
  std::atomic<std::uint32_t> m_configurations{0};
  std::atomic<std::uint32_t> m_commands{0};
  PoeStatus m_status{}; // of the last cycle
  PoeConfig m_stored{}; // written by one thread, read after its end
};

} // namespace

bool threadedRun(const RunOptions& options) {
  return ThreadedRun(options).run();
}
