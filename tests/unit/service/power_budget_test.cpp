// The rule of the power budget, without an engine: the verdict on each port, and what it was judged by.
#include "components/PoeDriver/power_budget.h"

#include <gtest/gtest.h>
#include <ostream>
#include <vector>

bool operator==(const PowerDecision& a, const PowerDecision& b) {
  return a.port == b.port && a.verdict == b.verdict && a.needW == b.needW && a.leftW == b.leftW;
}

std::ostream& operator<<(std::ostream& out, const PowerDecision& decision) {
  return out << "port " << decision.port << " verdict " << static_cast<int>(decision.verdict) << " needs "
             << decision.needW << " of " << decision.leftW;
}

namespace {

PoeConfig configOf(std::vector<PoePortConfig> ports) {
  PoeConfig config{};
  for (unsigned port = 0; port < 4; port++) {
    config.port[port] = ports.at(port);
  }
  return config;
}

TEST(PowerBudget, JudgesPortsByPriorityAndThenByNumber) {
  const PoeConfig config =
      configOf({{1, {}, 3, 20999, {}}, {1, {}, 1, 20000, {}}, {0, {}, 2, 5000, {}}, {1, {}, 1, 1999, {}}});
  const PowerDecisions expected = {{{1, PowerVerdict::FITS, 20, 30},
                                    {3, PowerVerdict::NOT_DETECTED, 1, 10},
                                    {2, PowerVerdict::OFF, 5, 10},
                                    {0, PowerVerdict::RESTARTED, 20, 10}}};
  EXPECT_EQ(decidePower(config, 30, {{{4, true}, {4, false}, {4, true}, {6, true}}}), expected);
}

TEST(PowerBudget, PutsPortsOfNoKnownPriorityLastWhateverTheirState) {
  const PoeConfig config = configOf(
      {{1, {}, 0, 9000, {}}, {1, {}, 4, 8000, {}}, {0, {}, 0xFFFFFFFF, 0, {}}, {1, {}, 3, 7000, {}}});
  const PowerDecisions expected = {{{3, PowerVerdict::FITS, 7, 7},
                                    {0, PowerVerdict::UNKNOWN_PRIORITY, 9, 0},
                                    {1, PowerVerdict::UNKNOWN_PRIORITY, 8, 0},
                                    {2, PowerVerdict::UNKNOWN_PRIORITY, 0, 0}}};
  EXPECT_EQ(decidePower(config, 7, {{{4, true}, {0, false}, {4, false}, {4, false}}}), expected);
}

TEST(PowerBudget, GivesTheBudgetToALaterPortThatFits) {
  const PoeConfig config =
      configOf({{1, {}, 1, 16000, {}}, {1, {}, 1, 15000, {}}, {1, {}, 2, 0, {}}, {1, {}, 2, 1000, {}}});
  const PowerDecisions expected = {{{0, PowerVerdict::UNPOWERED, 16, 15},
                                    {1, PowerVerdict::FITS, 15, 15},
                                    {2, PowerVerdict::FITS, 0, 0},
                                    {3, PowerVerdict::RESTARTED, 1, 0}}};
  EXPECT_EQ(decidePower(config, 15, {{{4, false}, {4, true}, {4, true}, {4, true}}}), expected);
}

TEST(PowerBudget, NeedsTheSumOfMilliwattsInWholeWattsOnOrOffWrappedAt32Bits) {
  const std::pair<std::array<std::uint32_t, 4>, std::uint32_t> rows[] = {{{20600, 20400, 0, 0}, 41},
                                                                         {{20000, 20999, 0, 0}, 40},
                                                                         {{0, 0, 0, 0}, 0},
                                                                         {{1U << 31, 1U << 31, 1000, 0}, 1}};
  for (const auto& [limits, watts] : rows) {
    PoeConfig config{};
    for (unsigned port = 0; port < 4; port++) {
      config.port[port].adminEnable = static_cast<std::uint8_t>(port % 2);
      config.port[port].powerLimit = limits.at(port);
    }
    EXPECT_EQ(neededPowerW(config), watts);
  }
}

TEST(PowerBudget, RestartsOnlyPoweredPortsThatDoNotFitAndPortsOfNoKnownPriority) {
  for (const PowerVerdict kept :
       {PowerVerdict::OFF, PowerVerdict::NOT_DETECTED, PowerVerdict::FITS, PowerVerdict::UNPOWERED}) {
    EXPECT_FALSE(isRestarted(kept));
  }
  EXPECT_TRUE(isRestarted(PowerVerdict::RESTARTED));
  EXPECT_TRUE(isRestarted(PowerVerdict::UNKNOWN_PRIORITY));
}

} // namespace
