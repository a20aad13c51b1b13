// Whether an expectation holds, and the reason that is shown when it does not.
#include "poectl/scenario/scenario_expect.h"

#include <gtest/gtest.h>

namespace {

StatusExpectation expectation(const std::string& text) {
  const Scenario scenario = parseScenario(text, "f.play", [](const std::string&) { return PoeConfig{}; });
  return std::get<StatusExpectation>(scenario.at(0).action);
}

TEST(Judge, ComparesAWordOfAPort) {
  PoeStatus now{};
  now.port[2].operStatus = OperStatus::FAULT;
  now.port[1].operStatus = OperStatus::SEARCHING;
  EXPECT_TRUE(judge(expectation("expect port 2 state FAULT"), {}, now).holds);
  const Judgement judgement = judge(expectation("expect port 1 state FAULT"), {}, now);
  EXPECT_FALSE(judgement.holds);
  EXPECT_EQ(judgement.reason, "port 1 state is SEARCHING; expected is FAULT");
}

TEST(Judge, HoldsForSeveralPortsIfItHoldsForEachOfThem) {
  PoeStatus now{};
  now.port[0].overLoadCounter = 2;
  now.port[3].overLoadCounter = 2;
  EXPECT_TRUE(judge(expectation("expect ports 0,3 overLoadCounter +2"), {}, now).holds);
  const Judgement judgement = judge(expectation("expect ports 0,1,3,2 overLoadCounter 2"), {}, now);
  EXPECT_FALSE(judgement.holds);
  EXPECT_EQ(judgement.reason, "port 1 overLoadCounter is 0; port 2 overLoadCounter is 0; expected is 2");
}

TEST(Judge, NamesTheCountersThatHaveChanged) {
  const CountersExpectation unchanged{{1, 2}, 4, {}};
  PoeStatus then{};
  PoeStatus now{};
  then.port[1].shortCounter = now.port[1].shortCounter = 7;
  now.port[0].overLoadCounter = 1; // of another port
  now.port[2].operStatus = 4;      // no counter
  EXPECT_TRUE(judge(unchanged, then, now).holds);
  now.port[1].invalidSignatureCounter = 3;
  now.port[2].classErrorCounter = 1;
  const Judgement judgement = judge(unchanged, then, now);
  EXPECT_FALSE(judgement.holds);
  EXPECT_EQ(judgement.reason,
            "port 1 invalidSignatureCounter is 3, was 0; port 2 classErrorCounter is 1, was "
            "0; expected is no change since line 4");
}

TEST(Judge, ShowsACodeWithoutAWordAsANumber) {
  PoeStatus now{};
  now.port[0].operStatus = 9;
  now.mainOperStatus = 2;
  EXPECT_EQ(judge(expectation("expect port 0 state TEST"), {}, now).reason,
            "port 0 state is 9; expected is TEST");
  EXPECT_EQ(judge(expectation("expect chip mainOperStatus running"), {}, now).reason,
            "chip mainOperStatus is 2; expected is running");
}

TEST(Judge, ComparesANumberOfTheChip) {
  PoeStatus now{};
  now.deviceTemperature = -11;
  EXPECT_TRUE(judge(expectation("expect chip deviceTemperature -11"), {}, now).holds);
  const Judgement judgement = judge(expectation("expect chip deviceTemperature 11"), {}, now);
  EXPECT_FALSE(judgement.holds);
  EXPECT_EQ(judgement.reason, "chip deviceTemperature is -11; expected is 11");
}

TEST(Judge, CountsAnIncreaseFromTheStatusBefore) {
  PoeStatus before{};
  PoeStatus now{};
  before.port[3].shortCounter = 5;
  now.port[3].shortCounter = 7;
  EXPECT_TRUE(judge(expectation("expect port 3 shortCounter +2"), before, now).holds);
  EXPECT_FALSE(judge(expectation("expect port 3 shortCounter +1"), before, now).holds);
  EXPECT_TRUE(judge(expectation("expect port 3 shortCounter +1 or more"), before, now).holds);
  EXPECT_TRUE(judge(expectation("expect port 3 shortCounter +2 or more"), before, now).holds);
  EXPECT_TRUE(judge(expectation("expect port 3 shortCounter 7"), before, now).holds);
  const Judgement judgement = judge(expectation("expect port 3 shortCounter +3 or more"), before, now);
  EXPECT_FALSE(judgement.holds);
  EXPECT_EQ(judgement.reason, "port 3 shortCounter is 7, +2 since the last apply, card or console step; "
                              "expected is +3 or more");
}

TEST(Judge, CountsAnIncreaseAcrossTheEndOfTheCounter) {
  PoeStatus before{};
  PoeStatus now{};
  before.port[0].underLoadCounter = 4294967295U;
  now.port[0].underLoadCounter = 1;
  EXPECT_TRUE(judge(expectation("expect port 0 underLoadCounter +2"), before, now).holds);
}

TEST(Judge, ComparesARegister) {
  const RegisterExpectation expected{0x90, 0x0A, {}};
  EXPECT_TRUE(judge(expected, 0x0A).holds);
  EXPECT_EQ(judge(expected, 0x90).reason, "register 0x90 is 0x90; expected is 0x0A");
  EXPECT_FALSE(judge(expected, 0x90).holds);
}

} // namespace
