// Whether an expectation holds, and the reason that is shown when it does not.
#include "poectl/scenario/scenario_expect.h"

#include <gtest/gtest.h>

namespace {

std::string verdict(const Judgement& judgement) {
  return judgement.holds ? "holds" : judgement.reason;
}

// On a line that starts with "expect".
std::string verdict(const std::string& line, const PoeStatus& now, const PoeStatus& before = {}) {
  const Scenario scenario =
      parseScenario("expect " + line, "f.play", [](const std::string&) { return PoeConfig{}; });
  return verdict(judge(std::get<StatusExpectation>(scenario.at(0).action), before, now));
}

TEST(Judge, ComparesWordsOfAPort) {
  PoeStatus now{};
  now.port[1].operStatus = OperStatus::SEARCHING;
  now.port[2].operStatus = OperStatus::FAULT;
  now.port[2].powerClassification = 5;
  EXPECT_EQ(verdict("port 2 state FAULT", now), "holds");
  EXPECT_EQ(verdict("port 1 state FAULT", now), "port 1 state is SEARCHING; expected is FAULT");
  EXPECT_EQ(verdict("port 2 class 4", now), "holds");
  EXPECT_EQ(verdict("port 1 class 4", now), "port 1 class is none; expected is 4");
}

TEST(Judge, HoldsForSeveralPortsIfItHoldsForEachOfThem) {
  PoeStatus now{};
  now.port[0].overLoadCounter = 2;
  now.port[3].overLoadCounter = 2;
  EXPECT_EQ(verdict("ports 0,3 overLoadCounter +2", now), "holds");
  EXPECT_EQ(verdict("ports 0,1,3,2 overLoadCounter 2", now),
            "port 1 overLoadCounter is 0; port 2 overLoadCounter is 0; expected is 2");
}

TEST(Judge, NamesTheCountersThatHaveChanged) {
  const CountersExpectation unchanged{{1, 2}, 4, {}};
  PoeStatus then{};
  PoeStatus now{};
  then.port[1].shortCounter = now.port[1].shortCounter = 7;
  now.port[0].overLoadCounter = 1; // of another port
  now.port[2].operStatus = 4;      // no counter
  EXPECT_EQ(verdict(judge(unchanged, then, now)), "holds");
  now.port[1].invalidSignatureCounter = 3;
  now.port[2].classErrorCounter = 1;
  EXPECT_EQ(verdict(judge(unchanged, then, now)),
            "port 1 invalidSignatureCounter is 3, was 0; port 2 classErrorCounter is 1, was 0; "
            "expected is no change since line 4");
}

TEST(Judge, ShowsACodeWithoutAWordAsANumber) {
  PoeStatus now{};
  now.port[0].operStatus = 9;
  now.mainOperStatus = 2;
  EXPECT_EQ(verdict("port 0 state TEST", now), "port 0 state is 9; expected is TEST");
  EXPECT_EQ(verdict("chip mainOperStatus running", now), "chip mainOperStatus is 2; expected is running");
}

TEST(Judge, ComparesANumberOfTheChip) {
  PoeStatus now{};
  now.deviceTemperature = -11;
  EXPECT_EQ(verdict("chip deviceTemperature -11", now), "holds");
  EXPECT_EQ(verdict("chip deviceTemperature 11", now), "chip deviceTemperature is -11; expected is 11");
}

TEST(Judge, CountsAnIncreaseFromTheStatusBeforeAlsoAcrossTheEndOfTheCounter) {
  PoeStatus before{};
  PoeStatus now{};
  before.port[3].shortCounter = 5;
  now.port[3].shortCounter = 7;
  before.port[0].underLoadCounter = 4294967295U;
  now.port[0].underLoadCounter = 1;
  const std::string is = "port 3 shortCounter is 7, +2 since the last apply, card or console step; expected ";
  const std::pair<const char*, std::string> rows[] = {
      {"port 3 shortCounter +2", "holds"},
      {"port 3 shortCounter +1", is + "is +1"},
      {"port 3 shortCounter +1 or more", "holds"},
      {"port 3 shortCounter +2 or more", "holds"},
      {"port 3 shortCounter +3 or more", is + "is +3 or more"},
      {"port 3 shortCounter 7", "holds"},
      {"port 0 underLoadCounter +2", "holds"},
  };
  for (const auto& [line, expected] : rows) {
    EXPECT_EQ(verdict(line, now, before), expected) << line;
  }
}

TEST(Judge, ComparesARegister) {
  const RegisterExpectation expected{0x90, 0x0A, {}};
  EXPECT_EQ(verdict(judge(expected, 0x0A)), "holds");
  EXPECT_EQ(verdict(judge(expected, 0x90)), "register 0x90 is 0x90; expected is 0x0A");
}

} // namespace
