// Configuration files: what is read from a good one, and the line that refuses a bad one.
#include "poectl/config/config_file.h"
#include "poectl/config/example_config.h"
#include "tests/support/error_text.h"

#include <cstring>
#include <gtest/gtest.h>

namespace {

const std::string PORTS = "[port.0]\nenable = true\npriority = 1\nlimit = 15000\n"
                          "[port.1]\nenable = true\npriority = 2\nlimit = 40000\n"
                          "[port.2]\nenable = false\npriority = 3\nlimit = 0\n"
                          "[port.3]\nenable = true\npriority = 1\nlimit = 999\n";
const std::string GOOD = "[banks]\nbank0 = 100\n" + PORTS;

std::string replaced(std::string text, const std::string& old, const std::string& replacement) {
  const std::size_t start = text.find(old);
  EXPECT_NE(start, std::string::npos) << old;
  return text.replace(start, old.size(), replacement);
}

std::string errorOf(const std::string& text) {
  return errorText<ConfigError>([&] { parseConfig(text, "f.toml"); });
}

bool same(const PoeConfig& a, const PoeConfig& b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

TEST(ConfigFile, FillsTheRecord) {
  PoeConfig expected{};
  expected.bankPowerLimit[0] = 100;
  expected.port[0] = {1, {}, 1, 15000, {}};
  expected.port[1] = {1, {}, 2, 40000, {}};
  expected.port[2] = {0, {}, 3, 0, {}};
  expected.port[3] = {1, {}, 1, 999, {}};
  EXPECT_TRUE(same(parseConfig(GOOD, "f.toml"), expected));
}

TEST(ConfigFile, TakesEveryBankUpToTheLargestNumberOfTheMessage) {
  const PoeConfig config = parseConfig("[banks]\nbank0 = 0\nbank1 = 1\nbank2 = 161\nbank3 = 162\nbank4 = 4\n"
                                       "bank5 = 5\nbank6 = 4294967295\nbank7 = 7\n" +
                                           PORTS,
                                       "f.toml");
  const std::uint32_t expected[] = {0, 1, 161, 162, 4, 5, 4294967295, 7};
  EXPECT_EQ(std::memcmp(config.bankPowerLimit, expected, sizeof expected), 0);
}

TEST(ConfigFile, ReadsTheExample) {
  PoeConfig expected{};
  expected.bankPowerLimit[0] = 100;
  expected.port[0] = {1, {}, 1, 15000, {}};
  expected.port[1] = {1, {}, 2, 30000, {}};
  expected.port[2] = {1, {}, 3, 15000, {}};
  expected.port[3] = {0, {}, 3, 0, {}};
  EXPECT_TRUE(same(exampleConfig(), expected));
}

TEST(ConfigFile, TakesNamesOfUpTo24Characters) {
  std::string longest;
  for (int character = 0; character < 24; character++) {
    longest += "\u00e4";
  }
  const std::string text = replaced(replaced(GOOD, "[port.1]\n", "[port.1]\nname = '" + longest + "'\n"),
                                    "[port.3]\n", "[port.3]\nname = \"\\\"\u96fb\u8a71\\\"\"\n");
  const PortNames expected = {"", longest, "", "\"\u96fb\u8a71\""};
  EXPECT_EQ(parseConfigFile(text, "f.toml").names, expected);
  EXPECT_EQ(portLabel(0, expected), "port 0");
  EXPECT_EQ(portLabel(3, expected), "port 3 (\"\u96fb\u8a71\")");
}

struct Refusal {
  const char* name;
  std::string text;
  std::string error;
};

class ConfigFileRefusal : public ::testing::TestWithParam<Refusal> {};

TEST_P(ConfigFileRefusal, NamesThePlaceAndWhatIsAccepted) {
  EXPECT_EQ(errorOf(GetParam().text), GetParam().error);
}

const std::string PORT_KEYS = "; enable, priority, limit and name are accepted";
const std::string LIMIT = "; a whole number from 0 to 40000 (mW; 0 means 40000) is accepted";
const std::string PRIORITY = "; a whole number from 1 to 3 is accepted";
const std::string WATTS = "; a whole number from 0 to 4294967295 (W) is accepted";
const std::string FILE_FORM = "; a TOML file as 'poectl example' prints is accepted";

const std::string NAME = "; a text of 1 to 24 printable characters is accepted";

std::string named(const std::string& value) {
  return replaced(GOOD, "[port.2]\n", "[port.2]\nname = " + value + "\n");
}

const Refusal REFUSALS[] = {
    {"NameAsANumber", named("1"), "f.toml:12:8: 'name' is of the wrong type" + NAME},
    {"NameWithoutACharacter", named("''"), "f.toml:12:8: 'name' is empty, too long or not printable" + NAME},
    {"NameOf25Characters", named("'" + std::string(25, 'x') + "'"),
     "f.toml:12:8: 'name' is empty, too long or not printable" + NAME},
    {"NameWithAnEscape", named("\"a\\u001b[2Jb\""),
     "f.toml:12:8: 'name' is empty, too long or not printable" + NAME},
    {"NameThatTurnsTheText", named("\"a\\u202eb\""),
     "f.toml:12:8: 'name' is empty, too long or not printable" + NAME},
    {"UnknownTable", "[bank]\n" + GOOD,
     "f.toml:1:2: unknown key 'bank'; [banks] and [port.0] to [port.3] are accepted"},
    {"NoBanks", PORTS, "f.toml:1:1: [banks] is missing; [banks] and [port.0] to [port.3] are accepted"},
    {"BanksOfAnotherType", "banks = 3\n" + PORTS,
     "f.toml:1:9: 'banks' is not a table; [banks] and [port.0] to [port.3] are accepted"},
    {"UnknownBank", replaced(GOOD, "bank0 = 100", "bank0 = 100\nbank8 = 1"),
     "f.toml:3:1: unknown key 'bank8'; bank0 to bank7 are accepted"},
    {"NoBankZero", replaced(GOOD, "bank0", "bank1"), "f.toml:1:1: 'bank0' is missing in [banks]" + WATTS},
    {"BankOfAnotherType", replaced(GOOD, "100", "\"100\""),
     "f.toml:2:9: 'bank0' is of the wrong type" + WATTS},
    {"BankWithAFraction", replaced(GOOD, "100", "100.0"), "f.toml:2:9: 'bank0' is of the wrong type" + WATTS},
    {"BankBelowZero", replaced(GOOD, "100", "-1"), "f.toml:2:9: 'bank0' is out of range: -1" + WATTS},
    {"BankTooLarge", replaced(GOOD, "100", "4294967296"),
     "f.toml:2:9: 'bank0' is out of range: 4294967296" + WATTS},
    {"NoPorts", "[banks]\nbank0 = 100\n",
     "f.toml:1:1: [port.0] is missing; [port.0] to [port.3] are accepted"},
    {"UnknownPort", GOOD + "[port.4]\nenable = true\n",
     "f.toml:19:7: unknown key '4'; [port.0] to [port.3] are accepted"},
    {"PortsAsAnArray", "port = [1]\n[banks]\nbank0 = 1\n",
     "f.toml:1:8: 'port' is not a table; [port.0] to [port.3] are accepted"},
    {"UnknownPortKey", replaced(GOOD, "limit", "limits"), "f.toml:6:1: unknown key 'limits'" + PORT_KEYS},
    {"NoLimit", replaced(GOOD, "limit = 15000", ""), "f.toml:3:1: 'limit' is missing in [port.0]" + LIMIT},
    {"LimitTooLarge", replaced(GOOD, "15000", "40001"), "f.toml:6:9: 'limit' is out of range: 40001" + LIMIT},
    {"PriorityZero", replaced(GOOD, "priority = 1", "priority = 0"),
     "f.toml:5:12: 'priority' is out of range: 0" + PRIORITY},
    {"PriorityFour", replaced(GOOD, "priority = 1", "priority = 4"),
     "f.toml:5:12: 'priority' is out of range: 4" + PRIORITY},
    {"EnableAsANumber", replaced(GOOD, "true", "1"),
     "f.toml:4:10: 'enable' is of the wrong type; true or false is accepted"},
    {"KeyWithALineEnd", replaced(GOOD, "limit", "\"a\\nb\" = 1\nlimit"),
     "f.toml:6:1: unknown key 'a?b'" + PORT_KEYS},
};

INSTANTIATE_TEST_SUITE_P(Files, ConfigFileRefusal, ::testing::ValuesIn(REFUSALS),
                         [](const auto& refusal) { return std::string(refusal.param.name); });

// The words of a syntax error are the library's; the place and the form are ours.
TEST(ConfigFile, RefusesWhatIsNoTomlInOneLine) {
  for (const auto& [text, place] : {std::pair<std::string, std::string>{GOOD + "[port.3]\n", "f.toml:19:"},
                                    {replaced(GOOD, "limit = 15000", "limit = 1\nlimit = 2"), "f.toml:7:"},
                                    {"[banks\n", "f.toml:1:"},
                                    {"a = \"\x01\"\n", "f.toml:1:"},
                                    {std::string("\0\xff\xfe", 3), "f.toml:1:"},
                                    {"a = " + std::string(5000, '['), "f.toml:1:"}}) {
    const std::string error = errorOf(text);
    EXPECT_EQ(error.substr(0, place.size()), place) << error;
    ASSERT_GT(error.size(), FILE_FORM.size());
    EXPECT_EQ(error.substr(error.size() - FILE_FORM.size()), FILE_FORM) << error;
    EXPECT_EQ(error.find('\n'), std::string::npos) << error;
  }
}

std::string readError(const std::string& path) {
  return errorText<InputError>([&] { readConfig(path); });
}

TEST(ConfigFile, RefusesAFileThatCannotBeRead) {
  EXPECT_EQ(readError("/nowhere/f.toml"), "/nowhere/f.toml: cannot be read: No such file or directory");
  EXPECT_EQ(readError("/dev/zero"), "/dev/zero: is too large; at most 65536 bytes are accepted");
}

} // namespace
