// What the worker makes of the chip's registers, and the status message.
#include "tests/unit/service/engine_fixture.h"

#include <cerrno>

namespace {

class EngineStatus : public EngineTest {
protected:
  // Runs the cycles with a configuration in force from before the second on.
  void runConfigured(const PoeConfig& config, const std::vector<Step>& steps) {
    makeEngine();
    std::vector<Step> all = {[&] {
      configure(config);
      takeLog();
      registersMoved();
    }};
    all.insert(all.end(), steps.begin(), steps.end());
    runCycles(all);
  }
};

TEST_F(EngineStatus, ReportsEveryPortDisabledBeforeAnyConfigurationThoughTheChipPowersOne) {
  makeEngine();
  registers[0x10] = 0xFF;
  registers[0x0C] = 0x44;
  runCycles({[&] { EXPECT_EQ(operStates(), "1 1 1 1 "); }});
  takeLog();
}

// One row of the rules: what the registers hold for port 0 and what port 0 then reports.
struct Rule {
  const char* name;
  std::map<unsigned, unsigned> registers;
  std::uint32_t operStatus;
};

std::ostream& operator<<(std::ostream& out, const Rule& rule) {
  return out << rule.name;
}

class OperStatusRule : public EngineStatus, public ::testing::WithParamInterface<Rule> {};

TEST_P(OperStatusRule, GivesTheStateOfAnEnabledPort) {
  runConfigured(fourPorts(), {[&] {
                                for (const auto& [reg, value] : GetParam().registers) {
                                  registers[reg] = static_cast<std::uint8_t>(value);
                                }
                              },
                              [&] { EXPECT_EQ(status().port[0].operStatus, GetParam().operStatus); }});
}

TEST_P(OperStatusRule, GivesDisabledForADisabledPort) {
  PoeConfig config = fourPorts();
  config.port[0].adminEnable = 0;
  runConfigured(config, {[&] {
                           for (const auto& [reg, value] : GetParam().registers) {
                             registers[reg] = static_cast<std::uint8_t>(value);
                           }
                         },
                         [&] { EXPECT_EQ(status().port[0].operStatus, 1U); }});
}

const Rule RULES[] = {
    {"NothingSet", {}, 2},
    {"Powered", {{0x10, 0x01}, {0x0C, 0x04}}, 3},
    {"PoweredOtherPortsOnly", {{0x10, 0xFE}, {0x0C, 0x04}}, 2},
    {"GoodButNotPowered", {{0x0C, 0x04}}, 2},
    {"OpenCircuit", {{0x0C, 0x06}}, 2},
    {"UnknownDetection", {{0x0C, 0x00}}, 2},
    {"UndefinedDetection", {{0x0C, 0x07}}, 2},
    {"ShortBeatsPowered", {{0x10, 0x01}, {0x0C, 0x01}}, 4},
    {"CapacitanceTooHigh", {{0x0C, 0x02}}, 4},
    {"ResistanceTooLow", {{0x0C, 0x03}}, 4},
    {"ResistanceTooHigh", {{0x0C, 0x05}}, 4},
    {"DetectionFailedBeatsPowered", {{0x10, 0x01}, {0x0C, 0x04}, {0x75, 0x08}}, 4},
    {"DetectionFailedOfAnotherPort", {{0x10, 0x01}, {0x0C, 0x04}, {0x75, 0x80}}, 3},
    {"FetErrorBeatsFault", {{0x49, 0x02}, {0x0C, 0x01}}, 6},
    {"MosfetOverTemperatureBeatsFault", {{0x75, 0x09}}, 6},
    {"ThermalShutdownBeatsPowered", {{0x42, 0x80}, {0x10, 0x01}, {0x0C, 0x04}}, 6},
    {"PowerManagementModeDoesNotMatter", {{0x75, 0x06}, {0x10, 0x01}}, 3},
};

INSTANTIATE_TEST_SUITE_P(Engine, OperStatusRule, ::testing::ValuesIn(RULES),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(EngineStatus, ThermalShutdownMakesEveryEnabledPortReportOtherFault) {
  PoeConfig config = fourPorts();
  config.port[2].adminEnable = 0;
  runConfigured(config, {[&] { registers[0x42] = 0x80; },
                         [&] {
                           EXPECT_EQ(operStates(), "6 6 1 6 ");
                           EXPECT_EQ(status().thermalShutdown, 1U);
                         }});
}

TEST_F(EngineStatus, DerivesAllPortsFromTheirOwnRecords) {
  runConfigured(fourPorts(), {[&] {
                                registers[0x10] = 0x05; // ports 0 and 2 powered
                                registers[0x0D] = 0x03; // port 1: bad signature
                                registers[0x58] = 0x02; // port 3: FET error
                              },
                              [&] { EXPECT_EQ(operStates(), "3 4 3 6 "); }});
}

TEST_F(EngineStatus, TranslatesEveryClassificationCode) {
  const std::uint32_t expected[8] = {0, 2, 3, 4, 5, 0, 1, 0};
  makeEngine();
  std::vector<Step> steps = {[&] { registers[0x0F] = 0x00; }};
  for (unsigned code = 0; code < 8; code++) {
    steps.push_back([&, code] {
      EXPECT_EQ(status().port[3].powerClassification, expected[code]) << "code " << code;
      registers[0x0F] = static_cast<std::uint8_t>((code + 1) << 4);
    });
  }
  runCycles(steps);
  takeLog();
}

TEST_F(EngineStatus, CopiesTheRawDetectionStatusAndThePortsPower) {
  makeEngine();
  for (unsigned port = 0; port < 4; port++) {
    registers[0x0C + port] = static_cast<std::uint8_t>(0xF8 + port + 3);
    registers[0x92 + port] = static_cast<std::uint8_t>(250 + port);
  }
  runCycles({[&] {
    for (unsigned port = 0; port < 4; port++) {
      EXPECT_EQ(status().port[port].detectionStatus, port + 3);
      EXPECT_EQ(status().port[port].powerConsumption, 250 + port);
    }
  }});
  takeLog();
}

TEST_F(EngineStatus, ReportsThePowerOfTheActiveBankTheTotalAndTheTemperature) {
  makeEngine();
  registers[0x96] = 77;
  registers[0x91] = 2 << 3;
  registers[0x70] = 20;
  runCycles({[&] { registers[0x8B] = 120; },
             [&] {
               EXPECT_EQ(status().mainPower, 120U);
               EXPECT_EQ(status().mainConsumption, 77U);
               EXPECT_EQ(status().deviceTemperature, -8);
               EXPECT_EQ(status().mainOperStatus, 1U);
               EXPECT_EQ(status().reserved, 0U);
               EXPECT_EQ(status().devError, 0U);
               EXPECT_EQ(status().thermalShutdown, 0U);
             }});
  takeLog();
}

// The counters.

constexpr std::uint32_t PoePortStatus::*COUNTERS[] = {&PoePortStatus::invalidSignatureCounter,
                                                      &PoePortStatus::powerDeniedCounter,
                                                      &PoePortStatus::overLoadCounter,
                                                      &PoePortStatus::underLoadCounter,
                                                      &PoePortStatus::shortCounter,
                                                      &PoePortStatus::classErrorCounter};

TEST_F(EngineStatus, AddsWhatTheChipCountedBeforeTheServiceStarted) {
  makeEngine();
  for (unsigned k = 0; k < 6; k++) {
    registers[0x77 + k] = 0xE4; // port p: p events
  }
  runCycles({[&] {
    for (unsigned port = 0; port < 4; port++) {
      for (unsigned k = 0; k < 6; k++) {
        EXPECT_EQ(status().port[port].*COUNTERS[k], k == 1 ? 2 * port : port)
            << "port " << port << " counter " << k;
      }
    }
  }});
  takeLog();
}

TEST_F(EngineStatus, AdvancesByTheDifferenceModuloFourAndTwiceThatForDenials) {
  // Raw counts of port 2, cycle by cycle, and the running total.
  const std::pair<unsigned, unsigned> rows[] = {{1, 1}, {1, 1}, {3, 3}, {1, 5}, {0, 8}, {0, 8}, {2, 10}};
  makeEngine();
  const auto setRaw = [&](unsigned raw) {
    for (unsigned k = 0; k < 6; k++) {
      registers[0x77 + k] = static_cast<std::uint8_t>(raw << 4);
    }
  };
  setRaw(rows[0].first);
  std::vector<Step> steps;
  for (std::size_t row = 0; row < std::size(rows); row++) {
    steps.push_back([&, row] {
      for (unsigned k = 0; k < 6; k++) {
        const unsigned total = rows[row].second;
        EXPECT_EQ(status().port[2].*COUNTERS[k], k == 1 ? 2 * total : total)
            << "cycle " << row << " counter " << k;
        EXPECT_EQ(status().port[1].*COUNTERS[k], 0U);
      }
      setRaw(row + 1 < std::size(rows) ? rows[row + 1].first : 0);
    });
  }
  runCycles(steps);
  takeLog();
}

// Failed reads.

TEST_F(EngineStatus, RepeatsTheLastKnownValuesWhileTheChipIsGone) {
  registers[0x96] = 30;
  registers[0x70] = 60;
  registers[0x10] = 0x11;
  registers[0x0C] = 0x44;
  registers[0x92] = 12;
  PoeStatus before{};
  runConfigured(fourPorts(), {[&] {
                                before = status();
                                EXPECT_EQ(before.port[0].operStatus, 3U);
                                EXPECT_EQ(before.port[0].powerConsumption, 12U);
                                takeLog();
                                registers[0x96] = 99;
                                registers[0x70] = 99;
                                registers[0x0C] = 0x11;
                                registers[0x92] = 99;
                                bus.failAll();
                              },
                              [&] {
                                PoeStatus expected = before;
                                expected.mainOperStatus = 3;
                                expected.devError = 1;
                                for (PoePortStatus& port : expected.port) {
                                  port.operStatus = 6;
                                }
                                const PoeStatus now = status();
                                EXPECT_EQ(std::memcmp(&now, &expected, sizeof now), 0);
                                EXPECT_EQ(takeLog(), readFailureReport("90"));
                              }});
}

TEST_F(EngineStatus, KeepsThePortsRecordWhenItsStatusCannotBeReadButTakesItsPower) {
  runConfigured(fourPorts(), {[&] {
                                registers[0x10] = 0x01;
                                registers[0x0C] = 0x44;
                                registers[0x92] = 5;
                              },
                              [&] {
                                registers[0x0C] = 0x11;
                                registers[0x92] = 6;
                                bus.failWhen([](std::size_t, const Transfer& t) { return t.reg == 0x49; });
                              },
                              [&] {
                                EXPECT_EQ(status().port[0].operStatus, 3U);
                                EXPECT_EQ(status().port[0].detectionStatus, 4U);
                                EXPECT_EQ(status().port[0].powerClassification, 5U);
                                EXPECT_EQ(status().port[0].powerConsumption, 6U);
                                EXPECT_EQ(takeLog(), readFailureReport("49"));
                              }});
}

// pollPort.

TEST_F(EngineStatus, PollsOneOfFourPortsAndRejectsAnyOther) {
  makeEngine();
  for (unsigned port = 0; port < 4; port++) {
    EXPECT_TRUE(engine->pollPort(port));
  }
  EXPECT_EQ(registersMoved(), HEALTHY_CYCLE.substr(HEALTHY_CYCLE.find("R10")));
  EXPECT_FALSE(engine->pollPort(4));
  EXPECT_FALSE(engine->pollPort(0xFFFFFFFF));
  EXPECT_EQ(takeLog(), engineError(827, "Illegal portnr [4]\n") + engineError(827, "Illegal portnr [-1]\n"));
  EXPECT_EQ(registersMoved(), "");
}

// updateOperStatus.

TEST_F(EngineStatus, DerivesTheStatesWithoutATransferAndIsTrue) {
  makeEngine();
  EXPECT_TRUE(engine->updateOperStatus());
  EXPECT_EQ(registersMoved(), "");
}

// The message.

TEST_F(EngineStatus, SendsTheIdAndTheRecordWithPriorityZeroAndClosesTheQueue) {
  makeEngine();
  EXPECT_TRUE(engine->sendStatus());
  EXPECT_EQ(posix.calls,
            (std::vector<std::string>{"mq_open /queueToMain O_WRONLY", "mq_timedsend 188", "mq_close"}));
  ASSERT_EQ(posix.messages.size(), 1U);
  EXPECT_EQ(posix.messages[0].size(), 188U);
  EXPECT_EQ(posix.lastMessage().msgId, 17U);
}

// PosixDoubles compares the deadline.
TEST_F(EngineStatus, SendsAcrossTheDatesAtWhich32BitsOfSecondsEnd) {
  makeEngine();
  for (const std::int64_t lastSecond : {2'147'483'647LL, 4'294'967'295LL}) { // in 2038 and 2106
    posix.timeOfDay.tv_sec = static_cast<std::time_t>(lastSecond);
    EXPECT_EQ(static_cast<std::int64_t>(posix.deadline().tv_sec), lastSecond + 1);
    EXPECT_TRUE(engine->sendStatus());
  }
  EXPECT_EQ(posix.messages.size(), 2U);
}

TEST_F(EngineStatus, ReportsAQueueThatCannotBeOpenedOncePerCycleAndGoesOn) {
  makeEngine();
  posix.openError = ENOENT;
  const LogLines report = engineError(925, "mq_open /queueToMain: No such file or directory\n");
  runCycles({[&] { EXPECT_EQ(takeLog(), DEFAULT_CONFIGURATION_NOTICE + report); },
             [&] {
               EXPECT_EQ(takeLog(), report);
               posix.openError = 0;
             },
             [&] { EXPECT_EQ(posix.messages.size(), 1U); }});
  EXPECT_EQ(posix.calls,
            (std::vector<std::string>{"pthread_create", "mq_open /queueToMain O_WRONLY",
                                      "mq_open /queueToMain O_WRONLY", "mq_open /queueToMain O_WRONLY",
                                      "mq_timedsend 188", "mq_close", "pthread_join"}));
}

} // namespace
