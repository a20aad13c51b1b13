#include "tests/soak/random_run.h"
#include "tests/support/model/service_pair.h"

#include <cerrno>
#include <cinttypes>
#include <cstdio>

namespace {

constexpr std::size_t HEAP_ROOM = 65536; // bytes

class SteppedRun : RandomRun {
public:
  explicit SteppedRun(const RunOptions& options) : RandomRun(options, HEAP_ROOM) {}

  bool run() {
    m_pair.construct();
    m_card.passOneSecond();
    m_pair.run([&] { return afterCycle(); });
    if (m_isGood) {
      report();
    }
    return m_isGood;
  }

private:
  bool afterCycle() {
    m_cycle++;
    expectNothing(m_pair.takeDifferences() + m_invariants.check(m_pair.status()));
    if (m_card.isCycleHealthy()) {
      m_healthyCycles++;
      expectNothing(m_invariants.checkHealthy(m_pair.status()));
    }
    weigh();
    if (m_cycle == m_options.cycles) {
      return false;
    }
    actBetweenCycles();
    expectNothing(m_pair.takeDifferences());
    m_card.passOneSecond();
    showProgress();
    return m_isGood;
  }

  // What the other threads of the process do.
  void actBetweenCycles() {
    if (m_card.once(20)) {
      const PoeConfig config = m_card.configuration();
      m_pair.handleConfig(config);
      m_invariants.stored(config);
      m_configurations++;
    }
    if (m_card.once(100)) {
      m_pair.reportCached();
      m_pair.reportLive();
      m_commands += 12;
    }
    if (m_card.once(500)) {
      m_pair.writeRegister(0x90, 1); // as if the chip had lost its configuration
      m_commands++;
    }
    const bool isQueueMissing = m_card.once(100);
    const bool isQueueFull = m_card.once(100);
    m_pair.setQueueErrors(isQueueMissing ? ENOENT : 0, isQueueFull ? ETIMEDOUT : 0);
  }

  void report() const {
    std::printf("seed %" PRIu64 ": %" PRIu64 " cycles, %" PRIu64 " of them healthy\n", m_options.seed,
                m_cycle, m_healthyCycles);
    std::printf("%" PRIu64 " configurations, %" PRIu64 " console commands\n", m_configurations, m_commands);
    printEventsAndFootprint();
  }

  ServicePair m_pair{m_card};
  std::uint64_t m_healthyCycles = 0;
  std::uint64_t m_configurations = 0;
  std::uint64_t m_commands = 0;
};

} // namespace

bool steppedRun(const RunOptions& options) {
  return SteppedRun(options).run();
}
