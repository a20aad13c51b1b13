// What each key of the live view does.
#include "poectl/view/view_keys.h"

#include "tests/unit/poectl/view/view_sample.h"

#include <gtest/gtest.h>

namespace {

using Kind = KeyPress::Kind;

class LiveViewKeys : public ::testing::Test {
protected:
  KeyEffect press(Kind kind) { return keys.press({kind}, state); }

  // Types the characters and returns the effect of the last.
  KeyEffect type(const std::string& characters) {
    KeyEffect effect;
    for (const char character : characters) {
      effect = keys.press({Kind::CHARACTER, character}, state);
    }
    return effect;
  }

  std::string command(const std::string& characters) { return type(characters).cardCommand; }

  ViewKeys keys;
  ViewState state = viewSample();
};

TEST_F(LiveViewKeys, QQuits) {
  EXPECT_TRUE(type("q").quit);
  EXPECT_FALSE(type("x").quit);
}

TEST_F(LiveViewKeys, DigitsAndArrowsChooseAPort) {
  type("2");
  EXPECT_EQ(state.port, 2U);
  press(Kind::DOWN);
  EXPECT_EQ(state.port, 3U);
  press(Kind::DOWN);
  EXPECT_EQ(state.port, 0U);
  press(Kind::UP);
  EXPECT_EQ(state.port, 3U);
  type("4");
  EXPECT_EQ(state.port, 3U);
  EXPECT_EQ(state.note, "this key does nothing; ? lists those that do");
}

TEST_F(LiveViewKeys, EnterShowsThePageOfAPortAndEnterOrEscapeLeavesIt) {
  press(Kind::ENTER);
  EXPECT_TRUE(state.portPage);
  press(Kind::ENTER);
  EXPECT_FALSE(state.portPage);
  press(Kind::ENTER);
  type("2?");
  press(Kind::ESCAPE);
  EXPECT_TRUE(state.portPage) << "the list of the keys goes first";
  EXPECT_EQ(state.port, 2U);
  press(Kind::ESCAPE);
  EXPECT_FALSE(state.portPage);
}

TEST_F(LiveViewKeys, OnlyRReadsThePortsSettingsOverTheBus) {
  for (char key = ' '; key <= '~'; key++) {
    ViewState fresh = viewSample();
    EXPECT_EQ(keys.press({Kind::CHARACTER, key}, fresh).readSettings, key == 'r') << key;
  }
  type("2r");
  EXPECT_EQ(state.note, "port 2: its limit and priority are being read over the chip's bus");
  state.mayUseBus = false;
  EXPECT_FALSE(type("r").readSettings);
  EXPECT_EQ(state.note, "r makes 10 transfers, and --no-bus was given");
}

TEST_F(LiveViewKeys, PlugGoesThroughTheDevicesPortByPort) {
  EXPECT_EQ(command("p"), "plug 0 class=2 watts=6");
  EXPECT_EQ(command("p"), "plug 0 class=4 watts=22");
  EXPECT_EQ(command("1p"), "plug 1 class=2 watts=6");
  EXPECT_EQ(command("0p"), "plug 0 class=0 watts=10");
  EXPECT_EQ(command("p"), "plug 0 class=3 watts=12");
  EXPECT_EQ(command("p"), "plug 0 class=1 watts=3");
  EXPECT_EQ(command("p"), "plug 0 class=4 watts=22 signature=low");
  EXPECT_EQ(command("p"), "plug 0 class=2 watts=6");
}

TEST_F(LiveViewKeys, CommandTheChosenPort) {
  type("3");
  EXPECT_EQ(command("u"), "unplug 3");
  EXPECT_EQ(command("s"), "short 3");
  EXPECT_EQ(command("f"), "fault 3 fet");
  EXPECT_EQ(command("o"), "fault 3 overtemperature");
  EXPECT_EQ(command("n"), "fault 3 none");
  EXPECT_EQ(command("c"), "power-cycle");
}

TEST_F(LiveViewKeys, ChangeTheDrawByOneWattFromWhatTheLastKeyLeft) {
  EXPECT_EQ(command("+"), "draw 0 7");
  EXPECT_EQ(command("+"), "draw 0 8");
  EXPECT_EQ(command("-"), "draw 0 7");
  EXPECT_EQ(command("pp+"), "draw 0 23") << "the class 4 device draws 22 W";
  state.card->port[0].watts = 0.5;
  EXPECT_EQ(command("-"), "draw 0 0");
  state.card->port[0].watts = 99.5;
  EXPECT_EQ(command("+"), "draw 0 100");
}

TEST_F(LiveViewKeys, SwitchThermalShutdownAndBusThereAndBack) {
  EXPECT_EQ(command("t"), "thermal on");
  EXPECT_EQ(command("t"), "thermal off");
  EXPECT_EQ(command("b"), "bus dead");
  EXPECT_EQ(command("b"), "bus ok");
}

TEST_F(LiveViewKeys, DoNothingToACardThatIsNotThere) {
  state.card.reset();
  for (const char key : std::string("pu+-sfontbc:")) {
    state.note = "";
    EXPECT_EQ(command(std::string(1, key)), "");
    EXPECT_EQ(state.note, "no simulated card answers; this key is for one");
    EXPECT_FALSE(state.prompt);
  }
}

TEST_F(LiveViewKeys, TypeAnyCommandAfterAColon) {
  EXPECT_EQ(command(":plug 2 quit"), "") << "no letter is a key meanwhile";
  press(Kind::ERASE);
  EXPECT_EQ(*state.prompt, "plug 2 qui");
  EXPECT_EQ(press(Kind::ENTER).cardCommand, "plug 2 qui");
  EXPECT_FALSE(state.prompt);
}

TEST_F(LiveViewKeys, LeaveThePromptWithEscape) {
  type(":x");
  EXPECT_EQ(press(Kind::ESCAPE).cardCommand, "");
  EXPECT_FALSE(state.prompt);
  type(":");
  press(Kind::ERASE);
  EXPECT_EQ(press(Kind::ENTER).cardCommand, "") << "an empty line is no command";
}

TEST_F(LiveViewKeys, StopAtTheEndOfThePromptsRow) {
  type(":" + std::string(200, 'x'));
  EXPECT_EQ(state.prompt->size(), 70U);
}

TEST_F(LiveViewKeys, OpenAndCloseTheList) {
  type("?");
  EXPECT_TRUE(state.help);
  type("?");
  EXPECT_FALSE(state.help);
  type("?");
  press(Kind::ESCAPE);
  EXPECT_FALSE(state.help);
}

TEST_F(LiveViewKeys, ScrollTheEventsByFive) {
  press(Kind::PAGE_UP);
  press(Kind::PAGE_UP);
  EXPECT_EQ(state.scrolledBack, 10U);
  press(Kind::PAGE_DOWN);
  EXPECT_EQ(state.scrolledBack, 5U);
  press(Kind::PAGE_DOWN);
  press(Kind::PAGE_DOWN);
  EXPECT_EQ(state.scrolledBack, 0U);
}

TEST_F(LiveViewKeys, SendTheExampleConfiguration) {
  EXPECT_TRUE(type("e").sendExample);
  EXPECT_FALSE(type("u").sendExample);
}

} // namespace
