// What a command sees of the simulated card, and the command line.
#include "card_process.h"

#include <gtest/gtest.h>
#include <ostream>

namespace {

CardResult runProbe(std::vector<std::string> options, const std::vector<std::string>& words) {
  options.insert(options.end(), {"--", CARD_PROBE});
  options.insert(options.end(), words.begin(), words.end());
  return runCard(options);
}

TEST(PoeCardBus, ReadsAndWritesRegistersOfTheChipAtAddress20) {
  const CardResult result =
      runProbe({}, {"open", "bind:0x20", "read:0x43", "write:0x12:0x5A", "read:0x12", "read:0x90"});
  EXPECT_EQ(result.out, "ok\nok\n0x41\nok\n0x5A\n0x90\n");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.status, 0);
}

TEST(PoeCardBus, HasNothingAtAnotherAddress) {
  const CardResult result = runProbe({}, {"open", "bind:0x21", "read:0x43", "write:0x12:1"});
  EXPECT_EQ(result.out, "ok\nok\nNo such device or address\nNo such device or address\n");
}

TEST(PoeCardBus, HasNothingForAnOpenerThatBoundNoAddress) {
  const CardResult result = runProbe({}, {"open", "read:0x43"});
  EXPECT_EQ(result.out, "ok\nNo such device or address\n");
}

TEST(PoeCardBus, RefusesASlaveAddressOfMoreThanSevenBits) {
  const CardResult result = runProbe({}, {"open", "bind:0x80", "bind:0x20", "read:0x43"});
  EXPECT_EQ(result.out, "ok\nInvalid argument\nok\n0x41\n");
}

TEST(PoeCardBus, KeepsTheAddressesOfSeveralOpenersApart) {
  const CardResult result = runProbe({}, {"open", "bind:0x20", "open", "bind:0x21", "read:0x43", "opener:0",
                                          "read:0x43", "opener:1", "bind:0x20", "read:0x43"});
  EXPECT_EQ(result.out, "ok\nok\nok\nok\nNo such device or address\n0x41\nok\n0x41\n");
}

TEST(PoeCardBus, ShowsOneChipToAllOpeners) {
  const CardResult result =
      runProbe({}, {"open", "bind:0x20", "open", "bind:0x20", "write:0x81:0x1E", "opener:0", "read:0x81"});
  EXPECT_EQ(result.out, "ok\nok\nok\nok\nok\n0x1E\n");
}

TEST(PoeCardBus, OffersByteDataTransfersOnly) {
  const CardResult result = runProbe({}, {"open", "bind:0x20", "functions", "word:0x43", "rdwr", "unknown"});
  EXPECT_EQ(result.out, "ok\nok\nok\n0x180000\nOperation not supported\nOperation not supported\n"
                        "Inappropriate ioctl for device\n");
}

TEST(PoeCardBus, PowersWhatIsPluggedAsRealTimePasses) {
  const CardResult result = runProbe({"--plug", "1 class=4 watts=12"},
                                     {"open", "bind:0x20", "write:0x81:30", "write:0x12:0x0C",
                                      "write:0x14:0x22", "await:0x10:0x22", "read:0x0D", "read:0x93"});
  EXPECT_EQ(result.out, "ok\nok\nok\nok\nok\n0x22\n0x44\n0x0C\n");
}

TEST(PoeCardBus, GivesEachPluggedPortItsOwnSignature) {
  const CardResult result = runProbe({"--plug", "0 signature=short", "--plug", "1 signature=capacitance",
                                      "--plug", "2 signature=low", "--plug", "3 signature=high"},
                                     {"open", "bind:0x20", "write:0x12:0xFF", "write:0x14:0xFF",
                                      "await:0x0F:5", "read:0x0C", "read:0x0D", "read:0x0E"});
  EXPECT_EQ(result.out, "ok\nok\nok\nok\n0x05\n0x01\n0x02\n0x03\n");
}

TEST(PoeCardBus, WithoutAnAdapterThereIsNoDevice) {
  const CardResult result = runProbe({"--no-adapter"}, {"open"});
  EXPECT_EQ(result.out, "No such file or directory\n");
  EXPECT_EQ(result.status, 0);
  EXPECT_FALSE(result.leftFiles);
}

TEST(PoeCardBus, AnAbsentChipLeavesTheAdapter) {
  const CardResult result = runProbe({"--absent"}, {"open", "bind:0x20", "read:0x43", "write:0x12:0"});
  EXPECT_EQ(result.out, "ok\nok\nNo such device or address\nNo such device or address\n");
}

TEST(PoeCardOptions, HelpIsPrintedWithStatus0) {
  const CardResult result = runCard({"--help"});
  EXPECT_EQ(result.out.rfind("Usage: poe_card [OPTION]... -- COMMAND [ARG]...\n", 0), 0U);
  EXPECT_EQ(result.status, 0);
}

TEST(PoeCardOptions, HelpRunsNothing) {
  EXPECT_EQ(runCard({"--help", "--", CARD_PROBE, "say:ran"}).out.find("ran\n"), std::string::npos);
}

TEST(PoeCardOptions, VersionIsPrintedWithStatus0AndNothingIsRun) {
  const CardResult result = runCard({"--version", "--", CARD_PROBE, "say:ran"});
  EXPECT_EQ(result.out, POE_VERSION "\n");
  EXPECT_EQ(result.status, 0);
}

TEST(PoeCardOptions, OptionsOfTheCommandAreTheCommandsOwn) {
  const CardResult result = runCard({"sh", "-c", "echo $0 $1", "--absent", "--nonsense"});
  EXPECT_EQ(result.out, "--absent --nonsense\n");
}

struct BadLine {
  const char* name;
  std::vector<std::string> arguments;
  const char* message;
};

void PrintTo(const BadLine& line, std::ostream* stream) {
  *stream << line.name;
}

class PoeCardBadOptions : public testing::TestWithParam<BadLine> {};

TEST_P(PoeCardBadOptions, GetOneLineThatSaysWhatIsAcceptedAndStatus2) {
  const CardResult result = runCard(GetParam().arguments);
  EXPECT_EQ(result.err, std::string("poe_card: ") + GetParam().message + "\n");
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.status, 2);
}

#define ACCEPTED_OPTIONS                                                                                     \
  "; accepted are --plug, --command, --control, --record, --record-times, --stepped, --no-adapter, "         \
  "--absent, --log, --log-times, --help, --version, then -- COMMAND"
#define ACCEPTED_PLUG                                                                                        \
  "; accepted is plug PORT [class=C] [watts=W] [signature=S] with PORT 0 to 3, C 0 to 4, W 0 to 100, "       \
  "S good, short, capacitance, low, high or none"

const BadLine BAD_LINES[] = {
    {"NoCommand", {"--absent"}, "there is no command to run" ACCEPTED_OPTIONS},
    {"UnknownOption", {"--nonsense", "--", "true"}, "'--nonsense' is not understood" ACCEPTED_OPTIONS},
    {"UnknownShortOption", {"-xa", "--", "true"}, "'-x' is not understood" ACCEPTED_OPTIONS},
    {"CommandWithoutValue", {"--command"}, "--command needs '[SECONDS] WORDS'"},
    {"ControlOfNoName", {"--control", "", "--", "true"}, "--control needs the name of a file"},
    {"RecordWithoutValue", {"--record"}, "--record needs the name of a file"},
    {"LogTimesWithoutLog", {"--log-times", "--", "true"}, "--log-times needs --log FILE"},
    {"RecordTimesWithoutRecord", {"--record-times", "--", "true"}, "--record-times needs --record FILE"},
    {"ValueForStepped", {"--stepped=1", "--", "true"}, "--stepped takes no value"},
    {"ValueForAFlag", {"--absent=yes", "--", "true"}, "--absent takes no value"},
    {"PlugWithoutValue", {"--plug"}, "--plug needs 'PORT [class=C] [watts=W] [signature=S]'"},
    {"LogWithoutValue", {"--log"}, "--log needs the name of a file"},
    {"LogOfNoName", {"--log", "", "--", "true"}, "--log needs the name of a file"},
    {"LogThatCannotBeWritten",
     {"--log", "/no/such/directory/log", "--", "true"},
     "--log: cannot write /no/such/directory/log: No such file or directory; accepted is a file that can be "
     "written"},
    {"Port4", {"--plug", "4", "--", "true"}, "--plug: '4' is no PORT" ACCEPTED_PLUG},
    {"NoPort", {"--plug", "", "--", "true"}, "--plug: PORT is missing" ACCEPTED_PLUG},
    {"Class5", {"--plug", "0 class=5", "--", "true"}, "--plug: 'class=5' is no class=C" ACCEPTED_PLUG},
};

INSTANTIATE_TEST_SUITE_P(Rows, PoeCardBadOptions, testing::ValuesIn(BAD_LINES),
                         [](const auto& row) { return row.param.name; });

TEST(PoeCardHelp, SaysThatItCannotBeWritten) {
  for (const char* const option : {"--help", "--version"}) {
    const CardResult result =
        runCard({"--no-adapter", "--", "sh", "-c", std::string(POE_CARD " ") + option + " >/dev/full"});
    EXPECT_EQ(result.err, "poe_card: cannot write to standard output: No space left on device\n") << option;
    EXPECT_EQ(result.status, 1) << option;
  }
}

} // namespace
