// The command line of poectl, before a command does anything.
#include "tests/support/process/command.h"

#include <gtest/gtest.h>
#include <string>

namespace {

CommandResult poectl(const std::string& words) {
  return run(POECTL " " + words);
}

TEST(CommandLine, ShowsTheOptionsOfACommandInLinesOfATerminal) {
  EXPECT_EQ(poectl("explain --help"),
            printed("Replays the audit of the power budget.\n"
                    "Usage: poectl explain [--status] [--bank-limit W] [--port STATE]... FILE\n"
                    "\n"
                    "It prints which port takes what share, which does not fit, which is restarted\n"
                    "in every cycle, and why. FILE may be - for standard input.\n"
                    "\n"
                    "Options:\n"
                    "  --status        Starts from the bank limit and the port states of the running\n"
                    "                  service, as its console shows them, with 9 transfers on the\n"
                    "                  bus of the chip. The default is bank 0 of the file, and all\n"
                    "                  ports detected good and powered.\n"
                    "  --bank-limit W  The limit of the active bank, 0 to 255.\n"
                    "  --port STATE    The state of a port, 'P detection=WORD powered=yes|no'. It\n"
                    "                  may be given for each port.\n"
                    "  -h, --help      Prints this text.\n"
                    "\n"
                    "Example:\n"
                    "poectl explain card.toml --status\n"
                    "poectl explain card.toml --bank-limit 30 --port '1 powered=no'\n"));
}

TEST(CommandLine, ShowsTheCommandsBelowTheirHeadings) {
  const CommandResult result = poectl("--help");
  EXPECT_EQ(result.status, 0);
  EXPECT_NE(
      result.output.find("\nThe machine:\n"
                         "  preflight       Checks that the queues and the port of the console are free.\n"
                         "  clean           Removes the queues that a killed service or main process left\n"
                         "                  behind.\n"),
      std::string::npos)
      << result.output;
}

struct Refusal {
  const char* name;
  const char* words;
  const char* reason;
  const char* help;
};

class CommandLineRefusal : public ::testing::TestWithParam<Refusal> {};

TEST_P(CommandLineRefusal, IsOneLineAndStatus2) {
  EXPECT_EQ(poectl(GetParam().words), refusedWith(GetParam().reason + std::string("; '") + GetParam().help +
                                                  "' lists what is accepted"));
}

constexpr const char* WATCH = "poectl watch --help";

const Refusal REFUSALS[] = {
    {"NoCommand", "", "a command is missing", "poectl --help"},
    {"UnknownCommand", "power", "there is no command 'power'", "poectl --help"},
    {"OptionBeforeTheCommand", "--json status", "there is no command '--json'", "poectl --help"},
    {"NoFile", "apply", "FILE is required", "poectl apply --help"},
    {"OtherOption", "clean --json", "there is no option '--json'", "poectl clean --help"},
    {"NoValue", "card --control", "--control needs a PATH", "poectl card --help"},
    {"NoRepeatedValue", "explain x --port", "--port needs a STATE", "poectl explain --help"},
    {"TwoValues", "status --every 1 --every 2", "--every is accepted only once", "poectl status --help"},
    {"OptionWithAValue", "clean --jsn=3", "there is no option '--jsn'", "poectl clean --help"},
    {"OutOfRange", "explain --bank-limit 256 x", "--bank-limit: '256' is out of range; 0 to 255 is accepted",
     "poectl explain --help"},
    {"CountZero", "watch --count 0", "--count: '0' is out of range; 1 to 1000000000 is accepted", WATCH},
    {"CountAWord", "watch --count x", "--count: 'x' is no whole number; 1 to 1000000000 is accepted", WATCH},
    {"CountAFraction", "watch --count 1.5", "--count: '1.5' is no whole number; 1 to 1000000000 is accepted",
     WATCH},
    {"SecondsZero", "watch --seconds 0", "--seconds: '0' is out of range; 0.1 to 1000000000 is accepted",
     WATCH},
    {"SecondsNegative", "watch --seconds -1",
     "--seconds: '-1' is out of range; 0.1 to 1000000000 is accepted", WATCH},
    {"SecondsNan", "watch --seconds nan",
     "--seconds: 'nan' is no number of seconds; 0.1 to 1000000000 is accepted", WATCH},
    {"SecondsInf", "watch --seconds inf",
     "--seconds: 'inf' is no number of seconds; 0.1 to 1000000000 is accepted", WATCH},
    {"OneWordTooMany", "watch now", "'now' is too much", WATCH},
    {"BothFormats", "status --json --prometheus", "--json excludes --prometheus", "poectl status --help"},
};

INSTANTIATE_TEST_SUITE_P(Words, CommandLineRefusal, ::testing::ValuesIn(REFUSALS),
                         [](const auto& refusal) { return std::string(refusal.param.name); });

} // namespace
