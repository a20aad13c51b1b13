// Scenario files: the line that refuses a bad one.
#include "poectl/config/example_config.h"
#include "poectl/scenario/scenario.h"
#include "tests/support/error_text.h"
#include "tests/support/process/temporary_directory.h"

#include <gtest/gtest.h>

namespace {

std::string errorOf(const std::string& text) {
  return errorText<ScenarioError>([&] {
    parseScenario(text, "f.play", [](const std::string& file) -> PoeConfig {
      if (file == "good.toml") {
        return {};
      }
      throw InputError(file +
                       ":3:1: 'limit' is out of range: 40001; a whole number from 0 to 40000 is accepted");
    });
  });
}

struct Refusal {
  const char* name;
  std::string text;
  std::string error;
};

class ScenarioRefusal : public ::testing::TestWithParam<Refusal> {};

TEST_P(ScenarioRefusal, NamesThePlaceAndWhatIsAccepted) {
  EXPECT_EQ(errorOf(GetParam().text), GetParam().error);
}

const std::string STEPS = "; apply, card, console, wait, after, mark and expect are accepted";
const std::string WORDS = "; words separated by blanks are accepted, and texts between two quotes";
const std::string APPLY = "; apply FILE or apply again is accepted";
const std::string CONSOLE = "; console WORDS or console WORDS shows \"TEXT\" is accepted";
const std::string SECONDS = "; a time from 0.1 to 3600 s is accepted";
const std::string MESSAGES = "; 1 to 3600 messages are accepted, as in 3 messages";
const std::string EXPECT =
    "; expect port, expect ports, expect chip, expect register, expect log and expect no log are accepted";
const std::string PORT = "; a port from 0 to 3 is accepted";
const std::string PORTS = "; ports from 0 to 3 are accepted, each once, as in 0,1";
const std::string COUNTERS = "; counters unchanged since line N is accepted";
const std::string LINE = "; the number of an earlier line that has a step is accepted";
const std::string PORT_FIELDS =
    "; state, class, operStatus, detectionStatus, powerClassification, powerConsumption, "
    "invalidSignatureCounter, powerDeniedCounter, overLoadCounter, underLoadCounter, shortCounter, "
    "classErrorCounter, counters are accepted";
const std::string FIELDS_OF_CHIP =
    "; mainPower, mainOperStatus, reserved, mainConsumption, deviceTemperature, "
    "thermalShutdown, devError are accepted";
const std::string STATES = "; DISABLED, SEARCHING, DELIVERINGPOWER, FAULT, TEST, OTHERFAULT are accepted";
const std::string COUNTER = "; a whole number or an increase such as +1 is accepted";
const std::string NUMBER = "; a whole number is accepted";
const std::string ADDRESS = "; an address from 0 to 0xCE is accepted";
const std::string VALUE = "; a value from 0 to 0xFF is accepted";
const std::string LOG = "; a text in quotes is accepted, as in expect log \"restarting Port 1\"";
const std::string WITHIN = "; within SECONDS or within N messages is accepted";
const std::string FOR = "; for N messages is accepted";

const Refusal REFUSALS[] = {
    {"NoStep", "# nothing\n", "f.play:1:1: the file has no step" + STEPS},
    {"UnknownStep", "wait 1\n  aplly x", "f.play:2:3: unknown step 'aplly'" + STEPS},
    {"ControlCharacter", "wait 1\r\n", "f.play:1:7: a control character" + WORDS},
    {"NulCharacter", std::string("wa\0it", 5), "f.play:1:3: a control character" + WORDS},
    {"OpenQuote", "console \"a b", "f.play:1:9: a quote that does not end" + WORDS},
    {"QuoteInsideAWord", "console a\"b\"", "f.play:1:10: a quote inside a word" + WORDS},
    {"WordBehindAQuote", "console \"a\"b", "f.play:1:12: a word after a quote without a blank" + WORDS},

    {"ApplyNothing", "apply", "f.play:1:6: the line is not complete" + APPLY},
    {"ApplyTwo", "apply good.toml more", "f.play:1:17: 'more' is too much; nothing more is accepted"},
    {"TabInAText", "apply good.toml \"a\tb\"", "f.play:1:17: 'a?b' is too much; nothing more is accepted"},
    {"TabInAFile", "apply \"a\tb\"",
     "f.play:1:7: apply: a?b:3:1: 'limit' is out of range: 40001; a whole number from 0 to 40000 is "
     "accepted"},
    {"ApplyAgainFirst", "apply again", "f.play:1:7: nothing has been applied before" + APPLY},
    {"ApplyBadFile", "apply bad.toml",
     "f.play:1:7: apply: bad.toml:3:1: 'limit' is out of range: 40001; a whole number from 0 to 40000 is "
     "accepted"},

    {"CardNothing", "card # plug",
     "f.play:1:5: words are missing; card WORDS is accepted; 'poectl card help' lists them"},
    {"ConsoleNothing", "console", "f.play:1:8: words are missing" + CONSOLE},
    {"ConsoleShowsOnly", "console shows \"a\"", "f.play:1:9: words are missing" + CONSOLE},
    {"ConsoleShowsABareWord", "console info shows a", "f.play:1:20: 'a' is no text in quotes" + CONSOLE},
    {"ConsoleShowsNothing", "console info shows \"\"", "f.play:1:20: '' is no text in quotes" + CONSOLE},

    {"WaitNothing", "wait", "f.play:1:5: the line is not complete" + SECONDS},
    {"WaitZero", "wait 0", "f.play:1:6: '0' is no time" + SECONDS},
    {"WaitTooLong", "wait 3601", "f.play:1:6: '3601' is no time" + SECONDS},
    {"WaitNotANumber", "wait nan", "f.play:1:6: 'nan' is no time" + SECONDS},
    {"WaitAWord", "wait 1s", "f.play:1:6: '1s' is no time" + SECONDS},
    {"WaitMessages", "wait 2 messages", "f.play:1:8: 'messages' is too much; nothing more is accepted"},
    {"AfterNothing", "after", "f.play:1:6: the line is not complete" + MESSAGES},
    {"AfterZero", "after 0 messages", "f.play:1:7: '0' is no number of messages" + MESSAGES},
    {"AfterTooMany", "after 3601 messages", "f.play:1:7: '3601' is no number of messages" + MESSAGES},
    {"AfterNegative", "after -1 messages", "f.play:1:7: '-1' is no number of messages" + MESSAGES},
    {"AfterWithoutAWord", "after 3", "f.play:1:8: the word messages is missing" + MESSAGES},
    {"AfterSeconds", "after 3 s", "f.play:1:9: the word messages is missing" + MESSAGES},
    {"AfterMore", "after 3 messages 1", "f.play:1:18: '1' is too much; nothing more is accepted"},

    {"MarkNothing", "mark", "f.play:1:5: the line is not complete; mark log is accepted"},
    {"MarkUnknown", "mark port", "f.play:1:6: 'port' cannot be marked; mark log is accepted"},
    {"MarkMore", "mark log x", "f.play:1:10: 'x' is too much; nothing more is accepted"},

    {"ExpectNothing", "expect", "f.play:1:7: the line is not complete" + EXPECT},
    {"ExpectUnknown", "expect prot 1", "f.play:1:8: unknown subject 'prot'" + EXPECT},
    {"ExpectNoPort", "expect no port", "f.play:1:11: 'no' is not followed by log" + EXPECT},
    {"PortMissing", "expect port", "f.play:1:12: the line is not complete" + PORT},
    {"PortFour", "expect port 4 state FAULT", "f.play:1:13: '4' is no port" + PORT},
    {"PortAWord", "expect port x state FAULT", "f.play:1:13: 'x' is no port" + PORT},
    {"PortList", "expect port 0,1 state FAULT", "f.play:1:13: '0,1' is no port" + PORT},
    {"PortsMissing", "expect ports", "f.play:1:13: the line is not complete" + PORTS},
    {"PortsEmpty", "expect ports \"\" state FAULT", "f.play:1:14: '' is no list of ports" + PORTS},
    {"PortsFour", "expect ports 0,4 state FAULT", "f.play:1:14: '0,4' is no list of ports" + PORTS},
    {"PortsTwice", "expect ports 1,1 state FAULT", "f.play:1:14: '1,1' is no list of ports" + PORTS},
    {"PortsOpen", "expect ports 0, state FAULT", "f.play:1:14: '0,' is no list of ports" + PORTS},
    {"PortsGap", "expect ports 0,,1 state FAULT", "f.play:1:14: '0,,1' is no list of ports" + PORTS},
    {"PortsRange", "expect ports 0-1 state FAULT", "f.play:1:14: '0-1' is no list of ports" + PORTS},
    {"PortsField", "expect ports 0,1", "f.play:1:17: the line is not complete" + PORT_FIELDS},
    {"CountersAlone", "expect ports 0,1 counters", "f.play:1:26: the word unchanged is missing" + COUNTERS},
    {"CountersStay", "expect ports 0,1 counters stays 0",
     "f.play:1:27: the word unchanged is missing" + COUNTERS},
    {"CountersSince", "expect ports 0,1 counters unchanged",
     "f.play:1:36: the word since is missing" + COUNTERS},
    {"CountersSinceNumber", "expect ports 0,1 counters unchanged since 1",
     "f.play:1:43: the word line is missing" + COUNTERS},
    {"CountersLineMissing", "expect ports 0,1 counters unchanged since line",
     "f.play:1:47: the line is not complete" + LINE},
    {"CountersOwnLine", "wait 1\nexpect ports 0,1 counters unchanged since line 2",
     "f.play:2:48: '2' is no line of an earlier step" + LINE},
    {"CountersLineWithoutAStep", "wait 1\n# x\nexpect ports 0,1 counters unchanged since line 2",
     "f.play:3:48: '2' is no line of an earlier step" + LINE},
    {"CountersLineAWord", "wait 1\nexpect ports 0,1 counters unchanged since line one",
     "f.play:2:48: 'one' is no line of an earlier step" + LINE},
    {"CountersWithin", "wait 1\nexpect ports 0,1 counters unchanged since line 1 within 3",
     "f.play:2:50: 'within' is too much" + FOR},

    {"PortField", "expect port 1 stat FAULT", "f.play:1:15: unknown field 'stat'" + PORT_FIELDS},
    {"ChipField", "expect chip state FAULT", "f.play:1:13: unknown field 'state'" + FIELDS_OF_CHIP},
    {"StateMissing", "expect port 1 state", "f.play:1:20: the line is not complete" + STATES},
    {"StateByNumber", "expect port 1 state 3", "f.play:1:21: '3' is no value of state" + STATES},
    {"StateUnknown", "expect port 1 state ?", "f.play:1:21: '?' is no value of state" + STATES},
    {"StateIncreased", "expect port 1 state +1", "f.play:1:21: '+1' is no value of state" + STATES},
    {"ClassFive", "expect port 1 class 5",
     "f.play:1:21: '5' is no value of class; none, 0, 1, 2, 3, 4 are accepted"},
    {"Detection", "expect port 1 detectionStatus GOOD",
     "f.play:1:31: 'GOOD' is no value of detectionStatus; unknown, short, cpd_too_high, rsig_too_low, good, "
     "rsig_too_high, open_circuit, illegal are accepted"},
    {"MainOperStatus", "expect chip mainOperStatus 1",
     "f.play:1:28: '1' is no value of mainOperStatus; unchecked, running, UNREACHABLE are accepted"},
    {"NumberAWord", "expect chip mainPower much", "f.play:1:23: 'much' is no value of mainPower" + NUMBER},
    {"NumberIncreased", "expect chip mainPower +1", "f.play:1:23: '+1' is no value of mainPower" + NUMBER},
    {"NumberHuge", "expect chip mainPower 99999999999999999999",
     "f.play:1:23: '99999999999999999999' is no value of mainPower" + NUMBER},
    {"CounterAWord", "expect port 1 shortCounter one",
     "f.play:1:28: 'one' is no value of shortCounter" + COUNTER},
    {"CounterPlusNothing", "expect port 1 shortCounter +",
     "f.play:1:28: '+' is no value of shortCounter" + COUNTER},
    {"CounterPlusMinus", "expect port 1 shortCounter +-1",
     "f.play:1:28: '+-1' is no value of shortCounter" + COUNTER},
    {"OrLess", "expect port 1 shortCounter +1 or less",
     "f.play:1:34: 'or' is not followed by more; an increase such as +1 or more is accepted"},
    {"TotalOrMore", "expect port 1 shortCounter 1 or more",
     "f.play:1:30: 'or' is not understood here" + WITHIN},

    {"WithinNothing", "expect port 1 state FAULT within", "f.play:1:33: the line is not complete" + WITHIN},
    {"WithinZero", "expect port 1 state FAULT within 0", "f.play:1:34: '0' is no time" + SECONDS},
    {"WithinZeroMessages", "expect port 1 state FAULT within 0 messages",
     "f.play:1:34: '0' is no number of messages" + MESSAGES},
    {"WithinAnotherUnit", "expect port 1 state FAULT within 3 seconds",
     "f.play:1:36: the word messages is missing" + WITHIN},
    {"WithinMore", "expect port 1 state FAULT within 3 messages x",
     "f.play:1:45: 'x' is too much; nothing more is accepted"},
    {"StaysWithoutFor", "expect port 1 state stays FAULT",
     "f.play:1:32: 'stays' needs a number of messages" + FOR},
    {"StaysWithin", "expect port 1 state stays FAULT within 3",
     "f.play:1:33: 'stays' needs a number of messages" + FOR},
    {"StaysForSeconds", "expect port 1 state stays FAULT for 3",
     "f.play:1:38: the word messages is missing" + MESSAGES},

    {"RegisterMissing", "expect register", "f.play:1:16: the line is not complete" + ADDRESS},
    {"RegisterTooHigh", "expect register 0xCF 0", "f.play:1:17: '0xCF' is no register address" + ADDRESS},
    {"RegisterAWord", "expect register 0x 0", "f.play:1:17: '0x' is no register address" + ADDRESS},
    {"RegisterValueMissing", "expect register 0x90", "f.play:1:21: the line is not complete" + VALUE},
    {"RegisterValueTooHigh", "expect register 0x90 256", "f.play:1:22: '256' is no register value" + VALUE},

    {"LogMissing", "expect log", "f.play:1:11: the line is not complete" + LOG},
    {"LogWithoutQuotes", "expect log restarting", "f.play:1:12: 'restarting' is no text in quotes" + LOG},
    {"LogEmpty", "expect log \"\"", "f.play:1:12: '' is no text in quotes" + LOG},
    {"LogFor", "expect log \"a\" for 3 messages", "f.play:1:16: 'for' is not understood here" + WITHIN},
    {"NoLogWithin", "expect no log \"a\" within 3", "f.play:1:19: 'within' is too much" + FOR},
    {"NoLogForMore", "expect no log \"a\" for 3 messages x", "f.play:1:34: 'x' is too much" + FOR},
};

INSTANTIATE_TEST_SUITE_P(Files, ScenarioRefusal, ::testing::ValuesIn(REFUSALS),
                         [](const auto& refusal) { return std::string(refusal.param.name); });

std::string readingError(const std::string& path) {
  return errorText<InputError>([&] { readScenario(path); });
}

TEST(ScenarioFile, FindsItsConfigurationsBesideIt) {
  const TemporaryDirectory folder;
  folder.write("c.toml", EXAMPLE_FILE);
  const Scenario scenario = readScenario(folder.write("f.play", "apply c.toml"));
  EXPECT_EQ(std::get<ApplyStep>(scenario.at(0).action).config.bankPowerLimit[0], 100U);
}

TEST(ScenarioFile, IsRefusedForAConfigurationThatIsRefused) {
  const TemporaryDirectory folder;
  const std::string configuration = folder.write("c.toml", "[banks]\nbank0 = true\n");
  const std::string file = folder.write("f.play", "wait 1\napply c.toml");
  EXPECT_EQ(readingError(file),
            file + ":2:7: apply: " + configuration +
                ":2:9: 'bank0' is of the wrong type; a whole number from 0 to 4294967295 (W) is accepted");
}

TEST(ScenarioFile, IsRefusedWhenItCannotBeRead) {
  EXPECT_EQ(readingError("/nowhere/f.play"), "/nowhere/f.play: cannot be read: No such file or directory");
  EXPECT_EQ(readingError("/dev/zero"), "/dev/zero: is too large; at most 65536 bytes are accepted");
}

} // namespace
