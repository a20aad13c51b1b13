// The words about the audit of the power budget.
#include "poectl/config/audit_text.h"
#include "tests/support/error_text.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace {

struct Port {
  std::uint8_t adminEnable;
  std::uint32_t priority;
  std::uint32_t powerLimit; // mW
  std::uint32_t detection;
  bool powered;
};

PoeConfig configOf(const std::array<Port, 4>& ports) {
  PoeConfig config{};
  for (unsigned p = 0; p < 4; p++) {
    config.port[p].adminEnable = ports[p].adminEnable;
    config.port[p].priority = ports[p].priority;
    config.port[p].powerLimit = ports[p].powerLimit;
  }
  return config;
}

PortPowerStates statesOf(const std::array<Port, 4>& ports) {
  PortPowerStates states{};
  for (unsigned p = 0; p < 4; p++) {
    states[p] = {ports[p].detection, ports[p].powered};
  }
  return states;
}

constexpr std::array<Port, 4> CROWDED = {
    {{1, 3, 20000, 4, true}, {1, 1, 20000, 4, true}, {0, 2, 5000, 6, false}, {1, 1, 0, 6, false}}};

TEST(AuditText, ListsTheSharesInTheOrderOfServing) {
  EXPECT_EQ(auditText(configOf(CROWDED), 30, statesOf(CROWDED)),
            "the limits add up to 45 W, the bank allows 30 W: the ports are served by priority\n"
            "port 2 is off, and its limit still counts in the sum\n"
            "port 3 has the limit 0: it may take 40 W, and counts as 0 in the sum\n"
            "priority 1, port 1: takes 20 W of 30 W, 10 W left\n"
            "priority 1, port 3: detects open_circuit, not good: takes nothing, is left as it is\n"
            "priority 2, port 2: is switched off: takes nothing, is left as it is\n"
            "priority 3, port 0: needs 20 W of 10 W: does not fit and is powered: is restarted in every "
            "cycle\n"
            "restarted in every cycle: 0\n");
}

TEST(AuditText, SaysThatNothingIsDone) {
  EXPECT_EQ(auditText(configOf(CROWDED), 45, statesOf(CROWDED)),
            "the limits add up to 45 W, the bank allows 45 W: nothing is done\n"
            "port 2 is off, and its limit still counts in the sum\n"
            "port 3 has the limit 0: it may take 40 W, and counts as 0 in the sum\n"
            "restarted in every cycle: none\n");
}

TEST(AuditText, SaysThatAPortOfNoKnownPriorityIsNeverServed) {
  const std::array<Port, 4> ports = {
      {{1, 0, 20000, 4, true}, {0, 4, 0, 6, false}, {1, 1, 31000, 4, false}, {1, 2, 30000, 4, true}}};
  EXPECT_EQ(auditText(configOf(ports), 30, statesOf(ports)),
            "the limits add up to 81 W, the bank allows 30 W: the ports are served by priority\n"
            "priority 1, port 2: needs 31 W of 30 W: does not fit, but has no power: is left as it is\n"
            "priority 2, port 3: takes 30 W of 30 W, 0 W left\n"
            "priority 0, port 0: is never served, whatever its state: is restarted in every cycle\n"
            "priority 4, port 1: is never served, whatever its state: is switched off in every cycle\n"
            "restarted in every cycle: 0, 1\n");
}

TEST(PortStateWords, SetWhatTheyName) {
  PortPowerStates states{};
  setPortState("2 detection=good powered=yes", states);
  EXPECT_EQ(states[2].detection, 4U);
  EXPECT_TRUE(states[2].powered);
  setPortState(" 2  powered=no ", states);
  EXPECT_EQ(states[2].detection, 4U);
  EXPECT_FALSE(states[2].powered);
  setPortState("0 detection=illegal", states);
  EXPECT_EQ(states[0].detection, 7U);
  EXPECT_EQ(states[1].detection, 0U);
}

TEST(PortStateWords, AreRefusedInOneLineThatSaysWhatIsAccepted) {
  for (const std::string words :
       {"", "4", "-1", "00", "x", "1 good", "1 =", "1 detection=", "1 detection=bad", "1 powered",
        "1 powered=maybe", "1 watts=3", "powered=yes"}) {
    PortPowerStates states{};
    EXPECT_EQ(errorText<PortStateError>([&] { setPortState(words, states); }),
              "the port state '" + words +
                  "' is not understood; 'P detection=WORD powered=yes|no' with P from 0 to 3 is "
                  "accepted, and for WORD unknown, short, cpd_too_high, rsig_too_low, good, "
                  "rsig_too_high, open_circuit or illegal");
  }
}

} // namespace
