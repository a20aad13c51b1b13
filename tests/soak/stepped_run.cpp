#include "tests/soak/footprint.h"
#include "tests/soak/random_run.h"
#include "tests/soak/run_invariants.h"
#include "tests/support/model/random_card.h"
#include "tests/support/model/service_pair.h"

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstdio>

namespace {

constexpr std::uint64_t WARM_UP = 1000;  // cycles until the test's own buffers have their size
constexpr std::size_t HEAP_ROOM = 65536; // bytes

class SteppedRun {
public:
  explicit SteppedRun(const RunOptions& options) : m_options(options), m_card(options.seed) {}

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
    expectNothing(m_pair.takeDifferences() + m_invariants.check(m_pair.status(), m_pair.lastLog()));
    if (m_cycle == std::min(WARM_UP, m_options.cycles)) {
      m_first = footprint();
    }
    if (m_cycle == m_options.cycles) {
      m_last = footprint();
      expectNothing(growth(m_first, m_last, HEAP_ROOM));
      return false;
    }
    actBetweenCycles();
    expectNothing(m_pair.takeDifferences());
    m_card.passOneSecond();
    showProgress(m_cycle, m_options.cycles);
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

  void expectNothing(const std::string& wrong) {
    if (!wrong.empty() && m_isGood) {
      std::printf("wrong in cycle %" PRIu64 ":\n%sagain with: --seed %" PRIu64 " --cycles %" PRIu64 "\n",
                  m_cycle, wrong.c_str(), m_options.seed, m_cycle + 1);
      m_isGood = false;
    }
  }

  void report() const {
    std::printf("seed %" PRIu64 ": %" PRIu64 " cycles, %" PRIu64 " of them healthy\n", m_options.seed,
                m_cycle, m_invariants.healthyCycles);
    std::printf("%" PRIu64 " configurations, %" PRIu64 " console commands, %" PRIu64 " restarts\n",
                m_configurations, m_commands, m_invariants.restarts);
    std::printf("%" PRIu64 " events counted, %" PRIu64 " counters wrapped unseen, %" PRIu64
                " times all lost with the chip's power\n",
                m_invariants.events, m_invariants.wrapped, m_invariants.lostCounts);
    std::printf("heap %zu and %zu bytes, open files %zu and %zu, threads %zu and %zu: in cycle %" PRIu64
                " and in the last\n",
                m_first.heap, m_last.heap, m_first.descriptors, m_last.descriptors, m_first.threads,
                m_last.threads, std::min(WARM_UP, m_options.cycles));
  }

  RunOptions m_options;
  RandomCard m_card;
  ServicePair m_pair{m_card};
  RunInvariants m_invariants{m_card};
  std::uint64_t m_cycle = 0;
  std::uint64_t m_configurations = 0;
  std::uint64_t m_commands = 0;
  Footprint m_first{};
  Footprint m_last{};
  bool m_isGood = true;
};

} // namespace

bool steppedRun(const RunOptions& options) {
  return SteppedRun(options).run();
}
