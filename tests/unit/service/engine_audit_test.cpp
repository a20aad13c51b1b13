// The check that the chip is configured. Recoveries and audits are compared with the model, in tests/faults
// and in the random run; the rule of the audit is in power_budget_test.cpp.
#include "tests/unit/service/engine_fixture.h"

namespace {

const std::string REINIT = "R12 W12 R12 W12 R12 W12 R12 W12 W89 W8A W8B W8C W8D W8E W8F W90 R7F W7F ";
const std::string BANKS = "W89 W8A W8B W8C W8D W8E W8F W90 ";
const std::string REAPPLY = BANKS + SWITCH_ON[0] + SWITCH_ON[1] + SWITCH_ON[2] + SWITCH_ON[3];

// What a cycle does after the check of the chip.
const std::string REST_OF_CYCLE = HEALTHY_CYCLE.substr(std::string("R90 R43 R70 R42 ").size());

class ChipCheck : public EngineTest {};

TEST_F(ChipCheck, RebuildsAChipThatLostItsConfigurationOnce) {
  makeEngine();
  runCycles({[&] {
               configure(fourPorts());
               takeLog();
             },
             [&] {
               for (unsigned reg = 0; reg <= 0xCE; reg++) {
                 registers[reg] = 0x00;
               }
               registers[0x90] = 0xFF; // power-on value of the marker
               registersMoved();
             },
             [&] {
               EXPECT_EQ(registersMoved(), "R90 " + REINIT + REAPPLY + REST_OF_CYCLE);
               EXPECT_EQ(takeLog(), REINIT_NOTICE);
               EXPECT_EQ(status().mainOperStatus, 1U);
               EXPECT_EQ(registers[0x89], 100);
               EXPECT_EQ(registers[0x90], 0);
               EXPECT_EQ(registers[0x12], 0xFF);
               EXPECT_EQ(registers[0x14], 0xFF);
             },
             [&] { EXPECT_EQ(registersMoved(), HEALTHY_CYCLE); }});
}

} // namespace
