// Compares the rule of the power budget with the tests' model and with its properties in every state. See
// --help.
//
// The rule asks one thing of the numbers: whether the ports of a set fit into the budget together. So a range
// of limits covers every comparison when it has every answer, for the 16 sets of ports, that the full range
// has. The program counts both.
#include "components/PoeDriver/power_budget.h"
#include "tests/budget/budget_properties.h"
#include "tests/support/model/budget_model.h"

#include <array>
#include <atomic>
#include <bitset>
#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <memory>
#include <thread>
#include <vector>

namespace {

constexpr char USAGE[] =
    "usage: poe_budget_audit [--full]\n"
    "  --full  limits up to 3 W, which cover every comparison of 40 W and 161 W, and all\n"
    "          states of on, detected and powered; without: up to 1 W, and those that matter\n";

constexpr unsigned PRIORITIES = 256; // 0 to 3 of four ports

// On, detected and powered of a port, as bits. The first five are what the rule tells apart, and one that it
// does not.
constexpr unsigned PORT_STATES[] = {7, 3, 5, 1, 6, 0, 2, 4};
constexpr unsigned ALL_STATES = 8;
constexpr unsigned STATES_THAT_MATTER = 5;

using Needs = std::array<std::uint32_t, POE_PORTS>; // W
using Answers = std::bitset<65536>;

// For each set of ports, as a bit: it fits into the budget.
unsigned answerOf(const Needs& needs, std::uint32_t budget) {
  unsigned answer = 0;
  for (unsigned ports = 0; ports < 16; ports++) {
    std::uint32_t sum = 0;
    for (unsigned port = 0; port < POE_PORTS; port++) {
      sum += (ports >> port & 1) != 0 ? needs[port] : 0;
    }
    answer |= (sum <= budget ? 1U : 0U) << ports;
  }
  return answer;
}

// Calls `work` with every combination of four numbers up to `most`.
template <class Work>
void forEachNeeds(std::uint32_t most, const Work& work) {
  Needs needs{};
  for (needs[0] = 0; needs[0] <= most; needs[0]++) {
    for (needs[1] = 0; needs[1] <= most; needs[1]++) {
      for (needs[2] = 0; needs[2] <= most; needs[2]++) {
        for (needs[3] = 0; needs[3] <= most; needs[3]++) {
          work(needs);
        }
      }
    }
  }
}

// A larger budget fits all ports, too.
std::uint32_t largestBudget(const Needs& needs) {
  return needs[0] + needs[1] + needs[2] + needs[3];
}

// The answers of a range of limits.
std::unique_ptr<Answers> answersOf(std::uint32_t mostNeed) {
  auto answers = std::make_unique<Answers>();
  forEachNeeds(mostNeed, [&](const Needs& needs) {
    for (std::uint32_t budget = 0; budget <= largestBudget(needs); budget++) {
      answers->set(answerOf(needs, budget));
    }
  });
  return answers;
}

void show(const char* what, const PoeConfig& config, std::uint32_t budget, const PortPowerStates& states) {
  std::printf("broken: %s\nbudget %u W\n", what, budget);
  for (unsigned port = 0; port < POE_PORTS; port++) {
    std::printf("port %u: enable %u, priority %u, %u mW, detection %u, powered %d\n", port,
                config.port[port].adminEnable, config.port[port].priority, config.port[port].powerLimit,
                states[port].detection, states[port].powered ? 1 : 0);
  }
}

// One configuration and its states, to be looked at with different numbers.
struct Case {
  PoeConfig config{};
  PortPowerStates states{};
  std::array<ModelPortPower, POE_PORTS> model{};

  void set(unsigned port, unsigned enable, std::uint32_t detection, bool isPowered) {
    config.port[port].adminEnable = static_cast<std::uint8_t>(enable);
    states[port] = {detection, isPowered};
    model[port] = {detection, isPowered};
  }

  // True when the rule agrees with the model and has its properties.
  bool holds(std::uint32_t budget) const {
    const PowerDecisions decisions = decidePower(config, budget, states);
    const std::array<bool, POE_PORTS> expected = restartedPorts(config, budget, model);
    bool isEqual = true;
    for (const PowerDecision& decision : decisions) {
      isEqual &= isRestarted(decision.verdict) == expected[decision.port];
    }
    const char* const broken =
        isEqual ? brokenProperty(config, budget, states, decisions) : "it differs from the model";
    if (broken != nullptr) {
      show(broken, config, budget, states);
    }
    return broken == nullptr;
  }
};

class Audit {
public:
  Audit(std::uint32_t mostNeed, unsigned portStates) : m_mostNeed(mostNeed), m_portStates(portStates) {}

  bool run() {
    std::vector<std::thread> threads;
    const unsigned processors = std::max(1U, std::thread::hardware_concurrency());
    for (unsigned i = 0; i < processors; i++) {
      threads.emplace_back([this] {
        for (unsigned next = m_next++; next < PRIORITIES && m_holds; next = m_next++) {
          tryPriorities(next);
        }
      });
    }
    for (std::thread& thread : threads) {
      thread.join();
    }
    return m_holds;
  }

  std::uint64_t states() const { return m_states; }

private:
  void tryPriorities(unsigned priorities) {
    Case now;
    for (unsigned port = 0; port < POE_PORTS; port++) {
      now.config.port[port].priority = priorities >> 2 * port & 3;
    }
    std::uint64_t count = 0;
    const unsigned combinations = m_portStates * m_portStates * m_portStates * m_portStates;
    for (unsigned states = 0; states < combinations && m_holds; states++) {
      unsigned rest = states;
      for (unsigned port = 0; port < POE_PORTS; port++) {
        const unsigned bits = PORT_STATES[rest % m_portStates];
        now.set(port, bits & 1, (bits & 2) != 0 ? 4 : 6, (bits & 4) != 0);
        rest /= m_portStates;
      }
      count += tryNumbers(&now);
    }
    m_states += count;
  }

  std::uint64_t tryNumbers(Case* now) {
    std::uint64_t count = 0;
    forEachNeeds(m_mostNeed, [&](const Needs& needs) {
      for (unsigned port = 0; port < POE_PORTS; port++) {
        now->config.port[port].powerLimit = needs[port] * 1000;
      }
      for (std::uint32_t budget = 0; budget <= largestBudget(needs) && m_holds; budget++) {
        if (!now->holds(budget)) {
          m_holds = false;
        }
        count++;
      }
    });
    return count;
  }

  std::uint32_t m_mostNeed;
  unsigned m_portStates;
  std::atomic<unsigned> m_next{0};
  std::atomic<bool> m_holds{true};
  std::atomic<std::uint64_t> m_states{0};
};

// One port through every limit in mW, every code of detection and enable and more priorities, at each budget
// around it.
bool tryOnePort(std::uint64_t* count) {
  Case now;
  for (std::uint32_t milliwatts = 0; milliwatts <= 41000; milliwatts++) {
    for (unsigned code = 0; code < 64; code++) {
      const std::uint32_t watts = milliwatts / 1000;
      now.set(2, code % 4 * 85, code / 4 % 8, code >= 32);
      now.config.port[2].priority = milliwatts % 6;
      now.config.port[2].powerLimit = milliwatts;
      for (std::uint32_t budget = watts == 0 ? 0 : watts - 1; budget <= watts + 1; budget++) {
        if (!now.holds(budget)) {
          return false;
        }
        ++*count;
      }
    }
  }
  return true;
}

bool audit(std::uint32_t mostNeed, unsigned portStates) {
  const auto start = std::chrono::steady_clock::now();
  Audit all(mostNeed, portStates);
  std::uint64_t onePort = 0;
  if (!all.run() || !tryOnePort(&onePort)) {
    return false;
  }
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
  std::printf("%" PRIu64 " states with limits up to %u W, and %" PRIu64 " of one port: %.0f s\n",
              all.states(), mostNeed, onePort, seconds.count());
  return true;
}

// True when limits up to `mostNeed` W have every answer that limits up to 40 W have.
bool coversAllComparisons(std::uint32_t mostNeed) {
  const std::unique_ptr<Answers> tried = answersOf(mostNeed);
  const std::unique_ptr<Answers> possible = answersOf(40);
  std::printf("%zu of %zu answers of the comparisons\n", tried->count(), possible->count());
  return *tried == *possible;
}

} // namespace

int main(int argc, char** argv) {
  const bool isFull = argc == 2 && std::strcmp(argv[1], "--full") == 0;
  if (argc == 2 && std::strcmp(argv[1], "--help") == 0) {
    std::fputs(USAGE, stdout);
    return 0;
  }
  if (argc > 1 && !isFull) {
    std::fputs("poe_budget_audit: only --full and --help are understood\n", stderr);
    return 2;
  }
  const bool holds = isFull ? coversAllComparisons(3) && audit(3, ALL_STATES) : audit(1, STATES_THAT_MATTER);
  std::puts(holds ? "all held" : "FAILED");
  return holds ? 0 : 1;
}
