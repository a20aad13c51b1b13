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

} // namespace
