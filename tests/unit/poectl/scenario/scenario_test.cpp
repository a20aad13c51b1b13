// Scenario files: the steps that are read from a good one.
#include "poectl/scenario/scenario.h"

#include <gtest/gtest.h>

namespace {

// A file "bank 7.toml" stands for a configuration whose bank 0 has 7 W.
PoeConfig configuration(const std::string& file) {
  PoeConfig config{};
  config.bankPowerLimit[0] = static_cast<std::uint32_t>(std::stoul(file.substr(5)));
  return config;
}

Scenario parse(const std::string& text) {
  return parseScenario(text, "f.play", configuration);
}

// The only step of a text.
template <typename Action>
Action only(const std::string& text) {
  const Scenario scenario = parse(text);
  EXPECT_EQ(scenario.size(), 1U);
  return std::get<Action>(scenario.at(0).action);
}

TEST(Scenario, KeepsTheLineAndItsTextWithoutTheComment) {
  const Scenario scenario = parse("# head\n\n  wait   2 # later\n\tconsole info  shows \"a  # b\"");
  ASSERT_EQ(scenario.size(), 2U);
  EXPECT_EQ(scenario[0].line, 3U);
  EXPECT_EQ(scenario[0].text, "wait 2");
  EXPECT_EQ(scenario[1].line, 4U);
  EXPECT_EQ(scenario[1].text, "console info shows \"a  # b\"");
}

TEST(Scenario, ReadsTheConfigurationsThatItApplies) {
  const Scenario scenario = parse("apply \"bank 7.toml\"\napply bank_8.toml\nwait 1\napply again");
  ASSERT_EQ(scenario.size(), 4U);
  EXPECT_EQ(std::get<ApplyStep>(scenario[0].action).config.bankPowerLimit[0], 7U);
  EXPECT_EQ(std::get<ApplyStep>(scenario[1].action).config.bankPowerLimit[0], 8U);
  EXPECT_EQ(std::get<ApplyStep>(scenario[3].action).config.bankPowerLimit[0], 8U);
}

TEST(Scenario, LeavesTheWordsOfTheCardAndTheConsoleAsTheyAre) {
  EXPECT_EQ(only<CardStep>("card plug  0 class=4 watts=22").words, "plug 0 class=4 watts=22");
  const auto bare = only<ConsoleStep>("console channel 0");
  EXPECT_EQ(bare.words, "channel 0");
  EXPECT_FALSE(bare.shows);
  const auto showing = only<ConsoleStep>("console shows shows \"det = \"");
  EXPECT_EQ(showing.words, "shows");
  EXPECT_EQ(showing.shows, "det = ");
  EXPECT_FALSE(only<ConsoleStep>("console a \"shows\" \"b\"").shows) << "a quoted word is never a keyword";
}

TEST(Scenario, ReadsWaitsByTimeAndByMessage) {
  EXPECT_EQ(only<WaitStep>("wait 0.1").seconds, 0.1);
  EXPECT_EQ(only<WaitStep>("wait 3600").seconds, 3600);
  EXPECT_EQ(only<AfterStep>("after 3 messages").messages, 3U);
  EXPECT_EQ(only<AfterStep>("after 1 message").messages, 1U);
}

TEST(Scenario, ReadsAnExpectationOfAPort) {
  const auto expectation = only<StatusExpectation>("expect port 3 state DELIVERINGPOWER");
  EXPECT_STREQ(expectation.field->name, "state");
  EXPECT_EQ(expectation.ports, std::vector<unsigned>{3});
  EXPECT_EQ(expectation.wanted.kind, WantedValue::Kind::EXACTLY);
  EXPECT_EQ(expectation.wanted.value, 3);
  EXPECT_FALSE(expectation.timing.stays);
  EXPECT_FALSE(expectation.timing.seconds);
  EXPECT_EQ(expectation.timing.messages, 5U);
}

TEST(Scenario, ReadsAnExpectationOfSeveralPorts) {
  const auto expectation = only<StatusExpectation>("expect ports 3,0 state FAULT within 5");
  EXPECT_EQ(expectation.ports, (std::vector<unsigned>{3, 0}));
  EXPECT_EQ(expectation.timing.seconds, 5);
  EXPECT_EQ(only<StatusExpectation>("expect ports 2 class 4").ports, std::vector<unsigned>{2});
}

TEST(Scenario, ReadsThatCountersAreUnchangedSinceTheStepOfALine) {
  const Scenario scenario = parse("wait 1\n\nafter 1 message\n"
                                  "expect ports 1,2 counters unchanged since line 3\n"
                                  "expect port 0 counters unchanged since line 4 for 2 messages");
  const auto& now = std::get<CountersExpectation>(scenario.at(2).action);
  EXPECT_EQ(now.ports, (std::vector<unsigned>{1, 2}));
  EXPECT_EQ(now.line, 3U);
  EXPECT_TRUE(now.timing.stays);
  EXPECT_EQ(now.timing.messages, 0U);
  const auto& later = std::get<CountersExpectation>(scenario.at(3).action);
  EXPECT_EQ(later.ports, std::vector<unsigned>{0});
  EXPECT_EQ(later.timing.messages, 2U);
}

TEST(Scenario, ReadsAnExpectationOfTheChip) {
  const auto expectation = only<StatusExpectation>("expect chip deviceTemperature -11");
  EXPECT_STREQ(expectation.field->name, "deviceTemperature");
  EXPECT_TRUE(expectation.ports.empty());
  EXPECT_EQ(expectation.wanted.value, -11);
}

TEST(Scenario, ReadsIncreasesOfCounters) {
  const auto exact = only<StatusExpectation>("expect port 0 overLoadCounter +2").wanted;
  EXPECT_EQ(exact.kind, WantedValue::Kind::INCREASE);
  EXPECT_EQ(exact.value, 2);
  const auto least = only<StatusExpectation>("expect port 0 overLoadCounter +2 or more").wanted;
  EXPECT_EQ(least.kind, WantedValue::Kind::INCREASE_OR_MORE);
  EXPECT_EQ(least.value, 2);
  const auto total = only<StatusExpectation>("expect port 0 overLoadCounter 2").wanted;
  EXPECT_EQ(total.kind, WantedValue::Kind::EXACTLY);
}

struct TimingRow {
  const char* text;
  bool stays;
  std::optional<double> seconds;
  unsigned messages;
};

TEST(Scenario, ReadsTheTimingAfterTheValue) {
  const TimingRow rows[] = {
      {"expect port 0 class 4 within 2.5", false, 2.5, 5},
      {"expect port 0 class 4 within 7 messages", false, {}, 7},
      {"expect port 0 shortCounter +1 or more within 1 message", false, {}, 1},
      {"expect port 0 class stays 4 for 3 messages", true, {}, 3},
      {"expect port 0 shortCounter stays +0 for 1 message", true, {}, 1},
  };
  for (const TimingRow& row : rows) {
    const auto timing = only<StatusExpectation>(row.text).timing;
    EXPECT_EQ(timing.stays, row.stays) << row.text;
    EXPECT_EQ(timing.seconds, row.seconds) << row.text;
    EXPECT_EQ(timing.messages, row.messages) << row.text;
  }
}

TEST(Scenario, ReadsRegistersInDecimalAndHexadecimal) {
  const auto hexadecimal = only<RegisterExpectation>("expect register 0xCE 0xfF within 2");
  EXPECT_EQ(hexadecimal.address, 206U);
  EXPECT_EQ(hexadecimal.value, 255U);
  EXPECT_EQ(hexadecimal.timing.seconds, 2);
  const auto decimal = only<RegisterExpectation>("expect register 16 stays 010 for 2 messages");
  EXPECT_EQ(decimal.address, 16U);
  EXPECT_EQ(decimal.value, 10U);
  EXPECT_TRUE(decimal.timing.stays);
}

TEST(Scenario, ReadsLinesOfTheLog) {
  only<MarkLogStep>("mark log");
  const auto present = only<LogExpectation>("expect log \"a line\" within 4 messages");
  EXPECT_EQ(present.text, "a line");
  EXPECT_FALSE(present.absent);
  EXPECT_FALSE(present.timing.stays);
  EXPECT_EQ(present.timing.messages, 4U);
  const auto absentNow = only<LogExpectation>("expect no log \"a line\"");
  EXPECT_TRUE(absentNow.absent);
  EXPECT_TRUE(absentNow.timing.stays);
  EXPECT_EQ(absentNow.timing.messages, 0U);
  EXPECT_EQ(only<LogExpectation>("expect no log \"x\" for 3 messages").timing.messages, 3U);
}

} // namespace
