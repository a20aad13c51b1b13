// What each card command does, what it replies, and what is said of a wrong one.
#include "simulator/card/card_command.h"
#include "tests/support/error_text.h"

#include <gtest/gtest.h>

namespace {

using Signature = ChipModel::Signature;

std::string run(Card& card, const std::string& line) {
  return parseCardCommand(line).run(card);
}

std::string errorOf(const std::string& line) {
  return errorText<CardCommandError>([&] { parseCardCommand(line); });
}

void switchOn(Card& card) {
  card.chip.write(0x12, 0xFF);
  card.chip.write(0x14, 0xFF);
  card.chip.advance(0.5);
}

TEST(CardCommand, PlugWithoutPropertiesIsAGoodDeviceOfClass0With5Watts) {
  Card card;
  EXPECT_EQ(run(card, "plug 2"), "ok\n");
  EXPECT_EQ(card.chip.device(2).signature, Signature::Good);
  EXPECT_EQ(card.chip.device(2).pdClass, 0U);
  EXPECT_EQ(card.chip.device(2).watts, 5.0);
}

TEST(CardCommand, PlugTakesItsPropertiesInAnyOrder) {
  Card card;
  run(card, "plug 3 watts=12.5 signature=high class=4");
  EXPECT_EQ(card.chip.device(3).signature, Signature::ResistanceTooHigh);
  EXPECT_EQ(card.chip.device(3).pdClass, 4U);
  EXPECT_EQ(card.chip.device(3).watts, 12.5);
}

TEST(CardCommand, PlugKnowsEverySignature) {
  Card card;
  const std::pair<const char*, Signature> rows[] = {{"good", Signature::Good},
                                                    {"short", Signature::Short},
                                                    {"low", Signature::ResistanceTooLow},
                                                    {"capacitance", Signature::CapacitanceTooHigh},
                                                    {"none", Signature::OpenCircuit},
                                                    {"high", Signature::ResistanceTooHigh}};
  for (const auto& [name, signature] : rows) {
    run(card, std::string("plug 0 signature=") + name);
    EXPECT_EQ(card.chip.device(0).signature, signature) << name;
  }
}

TEST(CardCommand, TakesNumbersInHexadecimalAndBlanksAnywhere) {
  Card card;
  EXPECT_EQ(run(card, "  \tplug   0x3  class=0x2 \r"), "ok\n");
  EXPECT_EQ(card.chip.device(3).pdClass, 2U);
}

TEST(CardCommand, UnplugDrawAndShortAreOfTheirPort) {
  Card card;
  run(card, "plug 0");
  run(card, "plug 1");
  switchOn(card);
  ASSERT_EQ(card.chip.reg(0x10), 0x33);
  EXPECT_EQ(run(card, "draw 0 7.2"), "ok\n");
  EXPECT_EQ(card.chip.reg(0x92), 7);
  EXPECT_EQ(run(card, "short 1"), "ok\n");
  EXPECT_EQ(card.chip.reg(0x7B), 0x04);
  EXPECT_EQ(card.chip.reg(0x10), 0x11);
  EXPECT_EQ(run(card, "unplug 0"), "ok\n");
  EXPECT_EQ(card.chip.reg(0x7A), 0x01);
  EXPECT_EQ(card.chip.reg(0x10), 0x00);
}

TEST(CardCommand, FaultsAndEnvironmentAreSetAndMended) {
  struct Row {
    const char* command;
    unsigned reg;
    unsigned value; // of the register afterwards
  };
  const Row rows[] = {{"fault 1 fet", 0x4E, 0x02},     {"fault 1 overtemperature", 0x75, 0x10},
                      {"fault 1 none", 0x75, 0x00},    {"temperature 71.5", 0x70, 0x67},
                      {"temperature -27", 0x70, 0x00}, {"thermal on", 0x42, 0x80},
                      {"thermal off", 0x42, 0x00},     {"supply 48", 0x72, 0x20},
                      {"bank 15", 0x91, 0x78},         {"reg 0x90 0", 0x90, 0x00},
                      {"power-cycle", 0x90, 0x90}};
  Card card;
  for (const Row& row : rows) {
    EXPECT_EQ(run(card, row.command), "ok\n");
    EXPECT_EQ(card.chip.reg(static_cast<std::uint8_t>(row.reg)), row.value) << row.command;
  }
  EXPECT_EQ(run(card, "class-error 3"), "ok\n");
  EXPECT_TRUE(card.chip.classErrorPending(3));
}

TEST(CardCommand, BusFaultsAreSetAndEnded) {
  Card card;
  for (const char* fault : {"dead", "fail 3", "every 1000000", "register 0xCF", "ok"}) {
    EXPECT_EQ(run(card, std::string("bus ") + fault), "ok\n");
    EXPECT_EQ(card.bus.text(), fault);
  }
}

TEST(CardCommand, RegShowsARegisterOrPutsAValueInPastAllRules) {
  Card card;
  EXPECT_EQ(run(card, "reg 67"), "0x43 0x41\n");
  EXPECT_EQ(run(card, "reg 0x43 0xE7"), "ok\n");
  EXPECT_EQ(run(card, "reg 0x43"), "0x43 0xE7\n");
  EXPECT_EQ(run(card, "reg 0xCE 255"), "ok\n");
  EXPECT_EQ(card.chip.reg(0xCE), 255);
}

TEST(CardCommand, ShowIsOneLineForEachPortAndEachProperty) {
  Card card;
  run(card, "plug 0 class=4 watts=12.4");
  run(card, "plug 1 signature=capacitance");
  run(card, "fault 2 fet");
  run(card, "class-error 3");
  run(card, "bank 1");
  run(card, "bus register 0x43");
  card.chip.write(0x8A, 100);
  switchOn(card);
  EXPECT_EQ(run(card, "show"),
            "port 0: device=good class=4 watts=12.4 phase=delivering fault=none class-error=none\n"
            "port 1: device=capacitance class=0 watts=5 phase=error-delay fault=none class-error=none\n"
            "port 2: device=none class=0 watts=0 phase=off fault=fet class-error=none\n"
            "port 3: device=none class=0 watts=0 phase=detecting fault=none class-error=pending\n"
            "supply=54\n"
            "minimum-supply=44.082\n"
            "temperature=40\n"
            "thermal=off\n"
            "bank=1\n"
            "bank-limit=100\n"
            "consumption=12\n"
            "present=yes\n"
            "bus=register 0x43\n"
            "unknown-registers=0\n"
            "read-only-writes=0\n");
}

TEST(CardCommand, ShowNamesTheOtherStates) {
  Card card;
  run(card, "fault 2 overtemperature");
  run(card, "thermal on");
  card.chip.setPresent(false);
  const std::string text = run(card, "show");
  EXPECT_NE(text.find("port 2: device=none class=0 watts=0 phase=off fault=overtemperature"),
            std::string::npos);
  EXPECT_NE(text.find("\nthermal=on\n"), std::string::npos);
  EXPECT_NE(text.find("\npresent=no\n"), std::string::npos);
}

TEST(CardCommand, HelpHasOneLineForEachCommand) {
  Card card;
  const std::string text = run(card, "help");
  for (const char* start :
       {"plug PORT [class=C]", "unplug PORT", "draw PORT WATTS", "short PORT", "fault PORT FAULT",
        "class-error PORT", "temperature C", "thermal SWITCH", "supply VOLTS", "bank N",
        "power-cycle: ", "bus FAULT", "reg ADDR [VALUE]", "dump: ", "load FILE", "show: ", "help: "}) {
    EXPECT_NE(("\n" + text).find(std::string("\n") + start), std::string::npos) << start;
  }
}

TEST(CardCommand, OnlyThoseThatChangeNothingDescribeTheCard) {
  for (const char* line : {"show", "help", "dump", "reg 0"}) {
    EXPECT_TRUE(parseCardCommand(line).describes) << line;
  }
  for (const char* line :
       {"plug 0", "unplug 0", "draw 0 1", "short 0", "fault 0 none", "class-error 0", "temperature 0",
        "thermal on", "supply 1", "bank 1", "power-cycle", "bus ok", "reg 0 0"}) {
    EXPECT_FALSE(parseCardCommand(line).describes) << line;
  }
}

TEST(TimedCommand, IsDueAtItsTimeToTheNanosecondOrAtOnce) {
  using std::chrono::nanoseconds;
  EXPECT_EQ(parseTimedCommand("plug 2 class=3").at, nanoseconds(0));
  EXPECT_EQ(parseTimedCommand("0 plug 2").at, nanoseconds(0));
  EXPECT_EQ(parseTimedCommand(" 2.500000001\tplug 2").at, nanoseconds(2'500'000'001));
  EXPECT_EQ(parseTimedCommand("1000000 plug 2").at, std::chrono::seconds(1'000'000));
}

TEST(TimedCommand, RunsWhatItNames) {
  Card card;
  for (const char* text : {"plug 1 class=3", "  1.5  plug 2 class=3 "}) {
    EXPECT_EQ(parseTimedCommand(text).command.run(card), "ok\n");
  }
  EXPECT_EQ(card.chip.device(1).pdClass, 3U);
  EXPECT_EQ(card.chip.device(2).pdClass, 3U);
}

struct WrongRow {
  const char* line;
  const char* what;
  const char* accepted;
};

constexpr const char* ALL =
    "are plug, unplug, draw, short, fault, class-error, temperature, thermal, supply, "
    "bank, power-cycle, bus, reg, dump, load, show and help";
constexpr const char* PLUG =
    "is plug PORT [class=C] [watts=W] [signature=S] with PORT 0 to 3, C 0 to 4, W 0 to 100, "
    "S good, short, capacitance, low, high or none";
constexpr const char* UNPLUG = "is unplug PORT with PORT 0 to 3";
constexpr const char* DRAW = "is draw PORT WATTS with PORT 0 to 3, WATTS 0 to 100";
constexpr const char* FAULT = "is fault PORT FAULT with PORT 0 to 3, FAULT fet, overtemperature or none";
constexpr const char* TEMPERATURE = "is temperature C with C -27 to 217";
constexpr const char* THERMAL = "is thermal SWITCH with SWITCH on or off";
constexpr const char* SUPPLY = "is supply VOLTS with VOLTS 0 to 100";
constexpr const char* BANK = "is bank N with N 0 to 15";
constexpr const char* BUS =
    "is bus FAULT with FAULT ok, dead, fail N, every N, register R or late MS, N 1 to 1000000, R 0 to 0xFF, "
    "MS 1 to 60000";
constexpr const char* REG = "is reg ADDR [VALUE] with ADDR 0 to 0xCE, VALUE 0 to 0xFF";

const WrongRow WRONG_ROWS[] = {
    {"", "there is no command", ALL},
    {" \t ", "there is no command", ALL},
    {"plugin 0", "'plugin' is not understood", ALL},
    {"SHOW", "'SHOW' is not understood", ALL},
    {"sh\033[2Jow", "'sh?[2Jow' is not understood", ALL},
    {"plug", "PORT is missing", PLUG},
    {"plug 4", "'4' is no PORT", PLUG},
    {"plug -1", "'-1' is no PORT", PLUG},
    {"plug 1x", "'1x' is no PORT", PLUG},
    {"plug 4294967296", "'4294967296' is no PORT", PLUG},
    {"plug 0x", "'0x' is no PORT", PLUG},
    {"plug 0 class=5", "'class=5' is no class=C", PLUG},
    {"plug 0 class=", "'class=' is no class=C", PLUG},
    {"plug 0 watts=101", "'watts=101' is no watts=W", PLUG},
    {"plug 0 watts=-1", "'watts=-1' is no watts=W", PLUG},
    {"plug 0 watts=nan", "'watts=nan' is no watts=W", PLUG},
    {"plug 0 watts=inf", "'watts=inf' is no watts=W", PLUG},
    {"plug 0 signature=bad", "'signature=bad' is no signature=S", PLUG},
    {"plug 0 volts=54", "'volts=54' is not understood", PLUG},
    {"plug 0 class", "'class' is not understood", PLUG},
    {"unplug", "PORT is missing", UNPLUG},
    {"unplug 0 1", "'1' is one word too many", UNPLUG},
    {"draw 0", "WATTS is missing", DRAW},
    {"draw 0 100.1", "'100.1' is no WATTS", DRAW},
    {"draw 0 5W", "'5W' is no WATTS", DRAW},
    {"draw 0 1e1", "'1e1' is no WATTS", DRAW},
    {"short 9", "'9' is no PORT", "is short PORT with PORT 0 to 3"},
    {"fault 0", "FAULT is missing", FAULT},
    {"fault 0 fire", "'fire' is no FAULT", FAULT},
    {"fault fet", "'fet' is no PORT", FAULT},
    {"class-error", "PORT is missing", "is class-error PORT with PORT 0 to 3"},
    {"temperature -28", "'-28' is no C", TEMPERATURE},
    {"temperature 218", "'218' is no C", TEMPERATURE},
    {"thermal maybe", "'maybe' is no SWITCH", THERMAL},
    {"thermal", "SWITCH is missing", THERMAL},
    {"supply -48", "'-48' is no VOLTS", SUPPLY},
    {"supply 100.5", "'100.5' is no VOLTS", SUPPLY},
    {"bank 16", "'16' is no N", BANK},
    {"power-cycle now", "'now' is one word too many", "is power-cycle"},
    {"bus", "FAULT is missing", BUS},
    {"bus slow", "'slow' is no FAULT", BUS},
    {"bus ok 1", "'1' is one word too many", BUS},
    {"bus fail", "N is missing", BUS},
    {"bus fail 0", "'0' is no N", BUS},
    {"bus every 0", "'0' is no N", BUS},
    {"bus every 1000001", "'1000001' is no N", BUS},
    {"bus register 256", "'256' is no R", BUS},
    {"bus late 0", "'0' is no MS", BUS},
    {"bus late 60001", "'60001' is no MS", BUS},
    {"reg", "ADDR is missing", REG},
    {"reg 0xCF", "'0xCF' is no ADDR", REG},
    {"reg 0x12 0x100", "'0x100' is no VALUE", REG},
    {"reg 0x12 0 0", "'0' is one word too many", REG},
    {"dump all", "'all' is one word too many", "is dump"},
    {"load", "FILE is missing", "is load FILE"},
    {"load /no/such/dump", "cannot read '/no/such/dump': No such file or directory",
     "is a file that can be read"},
    {"load /", "'/' is no file", "is a regular file"},
    {"show all", "'all' is one word too many", "is show"},
    {"help plug", "'plug' is one word too many", "is help"},
};

TEST(CardCommand, ThatIsWrongSaysWhatIsWrongAndWhatIsAccepted) {
  for (const WrongRow& row : WRONG_ROWS) {
    EXPECT_EQ(errorOf(row.line), std::string(row.what) + "; accepted " + row.accepted) << row.line;
  }
}

TEST(TimedCommand, ThatIsWrongSaysWhatIsAccepted) {
  const std::string form = "[SECONDS] COMMAND with SECONDS 0 to 1000000";
  const std::pair<const char*, std::string> rows[] = {
      {"", std::string("there is no command; accepted ") + ALL},
      {"3", std::string("there is no command; accepted ") + ALL},
      {"-1 unplug 0", "'-1' is no SECONDS; accepted is " + form},
      {"1000001 unplug 0", "'1000001' is no SECONDS; accepted is " + form},
      {"1s unplug 0", "'1s' is no SECONDS; accepted is " + form},
      {"1 2 unplug 0", std::string("'2' is not understood; accepted ") + ALL},
      {"1 unplug 4", std::string("'4' is no PORT; accepted ") + UNPLUG},
      {"1 reg 0x43",
       "the reply to 'reg 0x43' would be lost; accepted are the commands that change the card"}};
  for (const auto& [text, message] : rows) {
    EXPECT_EQ(errorText<CardCommandError>([&text = text] { parseTimedCommand(text); }), message) << text;
  }
}

TEST(CardCommandError, RepeatsALongWordInPart) {
  const std::string error = errorOf(std::string(3000, 'x'));
  EXPECT_EQ(error.rfind("'" + std::string(120, 'x') + "...' is not understood; accepted are ", 0), 0U);
  EXPECT_LT(error.size(), 400U);
}

} // namespace
