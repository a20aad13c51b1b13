// The check that the chip is configured, its recovery, and the audit of the power budget.
#include "tests/unit/service/engine_fixture.h"

namespace {

const std::string REINIT = "R12 W12 R12 W12 R12 W12 R12 W12 W89 W8A W8B W8C W8D W8E W8F W90 R7F W7F ";
const std::string BANKS = "W89 W8A W8B W8C W8D W8E W8F W90 ";
const std::string REAPPLY = BANKS + SWITCH_ON[0] + SWITCH_ON[1] + SWITCH_ON[2] + SWITCH_ON[3];

// What a cycle does after the check of the chip.
const std::string REST_OF_CYCLE = HEALTHY_CYCLE.substr(std::string("R90 R43 R70 R42 ").size());

class ChipCheck : public EngineTest {};

TEST_F(ChipCheck, LeavesAConfiguredChipAlone) {
  makeEngine();
  runCycles({[&] {
    registersMoved();
    takeLog();
    EXPECT_TRUE(engine->checkChip());
    EXPECT_EQ(registersMoved(), "R90 R43 R70 R42 ");
  }});
}

TEST_F(ChipCheck, IsTrueWhateverItFinds) {
  makeEngine();
  runCycles({[&] {
    takeLog();
    registers[0x90] = 1;
    EXPECT_TRUE(engine->checkChip());
    EXPECT_EQ(takeLog(), REINIT_NOTICE);
    bus.failAll();
    EXPECT_TRUE(engine->checkChip());
    bus.failNone();
    EXPECT_EQ(takeLog(), readFailureReport("90"));
  }});
  takeLog();
}

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

TEST_F(ChipCheck, GivesAnUnconfiguredChipOnlyTheDefaultConfigurationBeforeTheFirstConfiguration) {
  makeEngine();
  runCycles({[&] {
               registers[0x90] = 1;
               registersMoved();
               takeLog();
             },
             [&] {
               EXPECT_EQ(registersMoved(), "R90 " + REINIT + REST_OF_CYCLE);
               EXPECT_EQ(takeLog(), REINIT_NOTICE);
             }});
}

TEST_F(ChipCheck, RebuildsAfterATransferThatFailedThoughTheMarkerStands) {
  makeEngine();
  runCycles({[&] {
               configure(fourPorts());
               takeLog();
               registersMoved();
               bus.failTransfer(10);
             },
             [&] {
               EXPECT_EQ(takeLog(),
                         softwareError("pd69104", 2278, "Failed reading device at address 0xcb\n"));
               EXPECT_EQ(status().mainOperStatus, 1U);
               registersMoved();
               bus.failNone();
             },
             [&] {
               EXPECT_EQ(registersMoved(), "R90 R43 R70 R42 " + REINIT + REAPPLY + REST_OF_CYCLE);
               EXPECT_EQ(takeLog(), REINIT_NOTICE);
             },
             [&] { EXPECT_EQ(registersMoved(), HEALTHY_CYCLE); }});
}

TEST_F(ChipCheck, RebuildsWhenItsOwnDeviceReadBringsTheDriverToIdle) {
  makeEngine();
  runCycles({[&] {
               takeLog();
               registersMoved();
               bus.failTransfer(2); // the temperature of the check
             },
             [&] {
               EXPECT_EQ(registersMoved(), "R90 R43 R70 R42 " + REINIT + REST_OF_CYCLE);
               EXPECT_EQ(takeLog(), readFailureReport("70") + REINIT_NOTICE);
             }});
}

TEST_F(ChipCheck, DoesNotTouchAChipWhoseMarkerCannotBeRead) {
  makeEngine();
  runCycles({[&] {
               configure(fourPorts());
               takeLog();
               registersMoved();
               bus.failAll();
             },
             [&] {
               EXPECT_EQ(registersMoved(), "R90 " + REST_OF_CYCLE);
               EXPECT_EQ(status().mainOperStatus, 3U);
               EXPECT_EQ(takeLog(), readFailureReport("90"));
             },
             [&] {
               EXPECT_EQ(registersMoved(), "R90 " + REST_OF_CYCLE);
               bus.failNone();
             },
             [&] {
               EXPECT_EQ(status().mainOperStatus, 1U);
               EXPECT_EQ(takeLog(), REINIT_NOTICE);
               EXPECT_EQ(registersMoved(), "R90 R43 R70 R42 " + REINIT + REAPPLY + REST_OF_CYCLE);
             }});
}

TEST_F(ChipCheck, RepeatsTheInitialisationWhileTheMainProcessKeepsTheMarkerBankNonZero) {
  PoeConfig config = fourPorts();
  config.bankPowerLimit[7] = 5;
  makeEngine();
  const auto expectReinit = [&] {
    EXPECT_EQ(registersMoved(), "R90 " + REINIT + REAPPLY + REST_OF_CYCLE);
    EXPECT_EQ(takeLog(), REINIT_NOTICE);
  };
  runCycles({[&] {
               configure(config);
               takeLog();
               registersMoved();
             },
             expectReinit, expectReinit});
}

TEST_F(ChipCheck, RepeatsAnInitialisationThatFailed) {
  makeEngine();
  runCycles({[&] {
               registers[0x90] = 9;
               takeLog();
               registersMoved();
               bus.failWhen([](std::size_t, const Transfer& t) { return t.kind == 'W' && t.reg == 0x90; });
             },
             [&] {
               EXPECT_EQ(takeLog(), REINIT_NOTICE + softwareError("pd69104", 2154,
                                                                  "Failed reading device at address 0x90\n"));
               EXPECT_EQ(status().mainOperStatus, 1U);
               bus.failNone();
             },
             [&] {
               EXPECT_EQ(takeLog(), REINIT_NOTICE);
               EXPECT_EQ(registers[0x90], 0);
               registersMoved();
             },
             [&] { EXPECT_EQ(registersMoved(), HEALTHY_CYCLE); }});
}

// The audit.

class Audit : public EngineTest {
protected:
  struct Port {
    std::uint8_t adminEnable;
    std::uint32_t priority;
    std::uint32_t powerLimit; // mW
    unsigned detStatus;
    bool powered;
  };

  // Configures the ports and their state with a bank limit in W, lets the engine read it all, and expects
  // that the next cycle restarts exactly the ports of `restarted`, every time.
  void expectRestarts(std::uint32_t bankLimit, const std::array<Port, 4>& ports,
                      const std::vector<unsigned>& restarted) {
    PoeConfig config{};
    config.bankPowerLimit[0] = bankLimit;
    std::string off;
    std::string on;
    LogLines notices;
    for (unsigned p = 0; p < 4; p++) {
      config.port[p].adminEnable = ports[p].adminEnable;
      config.port[p].priority = ports[p].priority;
      config.port[p].powerLimit = ports[p].powerLimit;
    }
    for (const unsigned p : restarted) {
      off += SWITCH_OFF;
      on += ports[p].adminEnable != 0 ? sequenceOn(p, ports[p].priority) : "";
      notices = notices + restartNotice(p);
    }
    LogLines errors;
    for (const unsigned p : restarted) {
      if (ports[p].adminEnable != 0 && (ports[p].priority < 1 || ports[p].priority > 3)) {
        errors = errors + softwareError("pd69104", 786,
                                        "Range Error [c=4:" + std::to_string(p) +
                                            " pr=" + std::to_string(ports[p].priority) + "]\n");
      }
    }
    const std::string cycle = "R90 R43 R70 R42 " + off + on + REST_OF_CYCLE;

    makeEngine();
    const auto expectCycle = [&] {
      EXPECT_EQ(registersMoved(), cycle);
      EXPECT_EQ(takeLog(), notices + errors);
    };
    runCycles(
        {[&] {
           configure(config);
           for (unsigned p = 0; p < 4; p++) {
             registers[0x0C + p] = static_cast<std::uint8_t>(ports[p].detStatus);
             registers[0x10] = static_cast<std::uint8_t>(registers[0x10] | (ports[p].powered ? 1U << p : 0U));
           }
         },
         [&] { // the audit of this cycle had still to work with the limit and the states of the cycle before
           takeLog();
           registersMoved();
         },
         expectCycle, expectCycle});
  }

private:
  static std::string sequenceOn(unsigned port, std::uint32_t priority) {
    std::string sequence = SWITCH_ON[port];
    if (priority < 1 || priority > 3) {
      sequence.erase(sequence.find("R80 W80 "), 8);
    }
    return sequence;
  }
};

TEST_F(Audit, RestartsAPoweredPortThatDoesNotFitEveryCycle) {
  expectRestarts(
      30, {{{1, 1, 20000, 4, true}, {1, 1, 20000, 4, true}, {0, 3, 0, 6, false}, {0, 3, 0, 6, false}}}, {1});
}

TEST_F(Audit, DoesNothingWhileTheSumEqualsTheLimit) {
  expectRestarts(
      40, {{{1, 1, 20000, 4, true}, {1, 1, 20999, 4, true}, {0, 0, 0, 0, true}, {0, 0, 0, 0, true}}}, {});
}

TEST_F(Audit, SumsMilliwattsBeforeItComparesWatts) {
  // 20.6 W + 20.4 W = 41 W: one more than 20 W + 20 W.
  expectRestarts(
      40, {{{1, 1, 20600, 4, true}, {1, 1, 20400, 4, true}, {0, 1, 0, 4, true}, {0, 1, 0, 4, true}}}, {});
  // The same sum, and now the ports of no known priority show that the audit was entered.
  expectRestarts(
      40, {{{1, 1, 20600, 4, true}, {1, 1, 20400, 4, true}, {0, 0, 0, 4, true}, {0, 1, 0, 4, true}}}, {2});
}

TEST_F(Audit, APortThatIsSwitchedOffCountsForTheSumButTakesNoShare) {
  expectRestarts(
      30, {{{0, 1, 20000, 4, true}, {1, 1, 20000, 4, true}, {0, 1, 0, 0, false}, {0, 1, 0, 0, false}}}, {});
  expectRestarts(
      30, {{{0, 1, 20000, 4, true}, {1, 1, 20000, 4, true}, {1, 2, 11000, 4, true}, {0, 1, 0, 0, false}}},
      {2});
}

TEST_F(Audit, RestartsAPortOfNoKnownPriorityWhateverItsState) {
  expectRestarts(30,
                 {{{1, 1, 20000, 4, true}, {1, 0, 0, 6, false}, {1, 4, 20000, 4, true}, {0, 0, 0, 0, false}}},
                 {1, 2, 3});
}

TEST_F(Audit, SwitchesAllOffBeforeAnyOn) {
  expectRestarts(
      10, {{{1, 1, 20000, 4, true}, {1, 2, 20000, 4, true}, {1, 3, 20000, 4, true}, {1, 1, 20000, 4, true}}},
      {0, 1, 2, 3});
}

TEST_F(Audit, NeverTriggersWhenAllLimitsAreZeroThoughThatMeansFortyWattsEach) {
  expectRestarts(1, {{{1, 1, 0, 4, true}, {1, 1, 0, 4, true}, {1, 0, 0, 4, true}, {1, 1, 0, 4, true}}}, {});
}

TEST_F(Audit, WrapsTheSumAtThirtyTwoBits) {
  expectRestarts(30,
                 {{{1, 0, 0x80000000, 4, true},
                   {1, 0, 0x80000000, 4, true},
                   {1, 1, 1000, 4, true},
                   {0, 1, 0, 0, false}}},
                 {});
}

TEST_F(Audit, WorksWithTheLimitOfTheCycleBefore) {
  makeEngine();
  registers[0x10] = 0x0F;
  for (unsigned p = 0; p < 4; p++) {
    registers[0x0C + p] = 4;
  }
  PoeConfig config = fourPorts(); // 60 W of 100 W
  runCycles({[&] {
               takeLog();
               configure(config);
             },
             [&] {
               // The bank limit was last read as 0, before the configuration: every powered port is restarted
               // once.
               EXPECT_EQ(takeLog(),
                         restartNotice(0) + restartNotice(1) + restartNotice(2) + restartNotice(3));
             },
             [&] { EXPECT_EQ(takeLog(), LogLines{}); }});
}

} // namespace
