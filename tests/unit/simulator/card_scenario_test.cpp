// Scenario files.
#include "simulator/card/card_scenario.h"

#include <gtest/gtest.h>
#include <ostream>

namespace {

using std::chrono::milliseconds;

TEST(CardScenario, OfNothingHasNoSteps) {
  EXPECT_TRUE(parseScenario("", "f").empty());
  EXPECT_TRUE(parseScenario("\n  \n# plug 0\n   # plug 9\nwait 3\n", "f").empty());
}

TEST(CardScenario, HasItsStepsAtTheSumOfTheWaitsBeforeThem) {
  const std::vector<ScenarioStep> steps =
      parseScenario("plug 0\nplug 1\nwait 1.5\nunplug 0\nwait 0\n\nwait 0.25\nunplug 1", "f");
  ASSERT_EQ(steps.size(), 4U);
  EXPECT_EQ(steps.at(0).at, milliseconds(0));
  EXPECT_EQ(steps.at(1).at, milliseconds(0));
  EXPECT_EQ(steps.at(2).at, milliseconds(1500));
  EXPECT_EQ(steps.at(3).at, milliseconds(1750));
}

TEST(CardScenario, RunsTheCommandsThatItNames) {
  const std::vector<ScenarioStep> steps = parseScenario("  plug 2 class=3\r\n", "f");
  ASSERT_EQ(steps.size(), 1U);
  Card card;
  steps.at(0).command.run(card);
  EXPECT_EQ(card.chip.device(2).pdClass, 3U);
}

struct WrongScenario {
  const char* name;
  const char* text;
  const char* message;
};

void PrintTo(const WrongScenario& row, std::ostream* stream) {
  *stream << row.name;
}

class CardScenarioThatIsWrong : public testing::TestWithParam<WrongScenario> {};

TEST_P(CardScenarioThatIsWrong, SaysWhereWhatIsWrongAndWhatIsAccepted) {
  std::string message;
  try {
    parseScenario(GetParam().text, "day.txt");
  } catch (const CardCommandError& error) {
    message = error.what();
  }
  EXPECT_EQ(message, GetParam().message);
}

const WrongScenario WRONG_SCENARIOS[] = {
    {"Command", "plug 0\n\nunplug 4\n",
     "day.txt:3: '4' is no PORT; accepted is unplug PORT with PORT 0 to 3"},
    {"WaitForNothing", "wait",
     "day.txt:1: SECONDS is missing; accepted is wait SECONDS with SECONDS 0 to 1000000"},
    {"WaitNegative", "wait -1",
     "day.txt:1: '-1' is no SECONDS; accepted is wait SECONDS with SECONDS 0 to 1000000"},
    {"WaitForEver", "wait inf",
     "day.txt:1: 'inf' is no SECONDS; accepted is wait SECONDS with SECONDS 0 to 1000000"},
    {"WaitTooMuch", "wait 1 s",
     "day.txt:1: 's' is one word too many; accepted is wait SECONDS with SECONDS 0 to 1000000"},
    {"Telling", "show",
     "day.txt:1: what this replies would be lost; accepted are the commands that change the card, and wait "
     "SECONDS"},
    {"CommentBehindACommand", "power-cycle # now",
     "day.txt:1: '#' is one word too many; accepted is power-cycle"},
};

TEST(CardScenario, MayLastAThousandMillionSeconds) {
  std::string text;
  for (int line = 0; line < 1000; line++) {
    text += "wait 1000000\n";
  }
  EXPECT_TRUE(parseScenario(text, "ages.txt").empty());
  try {
    parseScenario(text + "wait 1\n", "ages.txt");
    ADD_FAILURE() << "accepted";
  } catch (const CardCommandError& error) {
    EXPECT_STREQ(error.what(), "ages.txt:1001: the waits add up to more than 1000000000 s");
  }
}

INSTANTIATE_TEST_SUITE_P(Rows, CardScenarioThatIsWrong, testing::ValuesIn(WRONG_SCENARIOS),
                         [](const auto& row) { return row.param.name; });

} // namespace
