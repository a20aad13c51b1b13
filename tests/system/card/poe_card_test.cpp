// What a command sees of the simulated card, and the command line.
#include "card_process.h"

#include <gtest/gtest.h>
#include <ostream>
#include <utility>

namespace {

// What the probe prints on a card with these options.
struct Sight {
  const char* name;
  std::vector<std::string> options;
  std::vector<std::string> words;
  const char* out;
};

void PrintTo(const Sight& sight, std::ostream* out) {
  *out << sight.name;
}

class ProbedCard : public testing::TestWithParam<Sight> {};

TEST_P(ProbedCard, IsSeenByTheCommand) {
  const CardResult result = runProbe(GetParam().options, GetParam().words);
  EXPECT_EQ(result.out, GetParam().out);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.status, 0);
  EXPECT_FALSE(result.leftFiles);
}

#define SILENCE "No such device or address\n"

const Sight SIGHTS[] = {
    {"WithTheRegistersOfTheChipAtAddress20",
     {},
     {"open", "bind:0x20", "read:0x43", "write:0x12:0x5A", "read:0x12", "read:0x90"},
     "ok\nok\n0x41\nok\n0x5A\n0x90\n"},
    {"WithSlaveAddressesOfSevenBits",
     {},
     {"open", "bind:0x80", "bind:0x20", "read:0x43"},
     "ok\nInvalid argument\nok\n0x41\n"},
    {"WithAnAddressForEachOpener",
     {},
     {"open", "read:0x43", "bind:0x20", "open", "bind:0x21", "read:0x43", "write:0x12:1", "opener:0",
      "read:0x43", "opener:1", "bind:0x20", "read:0x43"},
     "ok\n" SILENCE "ok\nok\nok\n" SILENCE SILENCE "0x41\nok\n0x41\n"},
    {"WithOneChipForAllOpeners",
     {},
     {"open", "bind:0x20", "open", "bind:0x20", "write:0x81:0x1E", "opener:0", "read:0x81"},
     "ok\nok\nok\nok\nok\n0x1E\n"},
    {"WithByteDataTransfersOnly",
     {},
     {"open", "bind:0x20", "functions", "word:0x43", "rdwr", "unknown"},
     "ok\nok\nok\n0x180000\nOperation not supported\nOperation not supported\nInappropriate ioctl for "
     "device\n"},
    {"PoweringWhatIsPluggedAsRealTimePasses",
     {"--plug", "1 class=4 watts=12"},
     {"open", "bind:0x20", "write:0x81:30", "write:0x12:0x0C", "write:0x14:0x22", "await:0x10:0x22",
      "read:0x0D", "read:0x93"},
     "ok\nok\nok\nok\nok\n0x22\n0x44\n0x0C\n"},
    {"WithoutADeviceWhenThereIsNoAdapter", {"--no-adapter"}, {"open"}, "No such file or directory\n"},
    {"WithTheAdapterOfAnAbsentChip",
     {"--absent"},
     {"open", "bind:0x20", "read:0x43", "write:0x12:0"},
     "ok\nok\n" SILENCE SILENCE},
    {"ChangedBeforeItStartsByCommandsWithoutATime",
     {"--command", "reg 0x20 0x33", "--command", "bus register 0x21"},
     {"open", "bind:0x20", "read:0x20", "read:0x21", "read:0x20"},
     "ok\nok\n0x33\n" SILENCE "0x33\n"},
    {"ChangedByCommandsAndPlugsInTheirOrder",
     {"--stepped", "--plug", "0", "--command", "unplug 0", "--plug", "1"},
     {"open", "bind:0x20", "write:0x12:0xFF", "write:0x14:0xFF", "await:0x0D:0x64", "read:0x0C"},
     "ok\nok\nok\nok\n0x64\n0x06\n"},
    {"ChangedWhileItRunsByCommandsWithATime",
     {"--command", "0.4 reg 0x20 3", "--command", "0.2 reg 0x20 2", "--command", "0.3 reg 0x21 2",
      "--command", "1000 reg 0x20 4", "--command", "reg 0x20 1"},
     {"open", "bind:0x20", "await:0x21:2", "await:0x20:3", "read:0x20"},
     "ok\nok\n0x02\n0x03\n0x03\n"},
};

INSTANTIATE_TEST_SUITE_P(Bus, ProbedCard, testing::ValuesIn(SIGHTS),
                         [](const auto& sight) { return std::string(sight.param.name); });

TEST(PoeCardOptions, HelpIsPrintedWithStatus0AndNothingIsRun) {
  const CardResult result = runCard({"--help", "--", CARD_PROBE, "say:ran"});
  EXPECT_EQ(result.out.rfind("Usage: poe_card [OPTION]... -- COMMAND [ARG]...\n", 0), 0U);
  EXPECT_EQ(result.out.find("ran\n"), std::string::npos);
  EXPECT_EQ(result.status, 0);
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

#define ACCEPTED_OPTIONS                                                                                     \
  "; accepted are --plug, --command, --control, --virtio, --record, --record-times, --stepped, "             \
  "--no-adapter, --absent, --log, --log-times, --help, --version, then -- COMMAND"
#define ACCEPTED_PLUG                                                                                        \
  "; accepted is plug PORT [class=C] [watts=W] [signature=S] with PORT 0 to 3, C 0 to 4, W 0 to 100, "       \
  "S good, short, capacitance, low, high or none"

const std::pair<std::vector<std::string>, std::string> BAD_LINES[] = {
    {{"--absent"}, "there is no command to run" ACCEPTED_OPTIONS},
    {{"--nonsense", "--", "true"}, "'--nonsense' is not understood" ACCEPTED_OPTIONS},
    {{"-xa", "--", "true"}, "'-x' is not understood" ACCEPTED_OPTIONS},
    {{"--command"}, "--command needs '[SECONDS] WORDS'"},
    {{"--control", "", "--", "true"}, "--control needs the name of a file"},
    {{"--virtio", "socket", "--no-adapter", "--", "true"},
     "--virtio and --no-adapter exclude each other; accepted is one of them"},
    {{"--virtio", "/no/such/directory/socket", "--", "true"},
     "--virtio: cannot make /no/such/directory/socket: No such file or directory; accepted is a path in a "
     "directory that can be written"},
    {{"--record"}, "--record needs the name of a file"},
    {{"--log-times", "--", "true"}, "--log-times needs --log FILE"},
    {{"--record-times", "--", "true"}, "--record-times needs --record FILE"},
    {{"--stepped=1", "--", "true"}, "--stepped takes no value"},
    {{"--absent=yes", "--", "true"}, "--absent takes no value"},
    {{"--plug"}, "--plug needs 'PORT [class=C] [watts=W] [signature=S]'"},
    {{"--log"}, "--log needs the name of a file"},
    {{"--log", "", "--", "true"}, "--log needs the name of a file"},
    {{"--log", "/no/such/directory/log", "--", "true"},
     "--log: cannot write /no/such/directory/log: No such file or directory; accepted is a file that can be "
     "written"},
    {{"--record", "/no/such/directory/record", "--", "true"},
     "--record: cannot write /no/such/directory/record: No such file or directory; accepted is a file that "
     "can "
     "be written"},
    {{"--plug", "4", "--", "true"}, "--plug: '4' is no PORT" ACCEPTED_PLUG},
    {{"--control", "/tmp/" + std::string(103, 'x'), "--", "true"},
     "--control: the path of 108 characters is too long; accepted are 107"},
    {{"--control", "/no/such/directory/control", "--", "true"},
     "--control: cannot make /no/such/directory/control: No such file or directory; accepted is a path in a "
     "directory that can be written"},
};

TEST(PoeCardOptions, ThatAreWrongGetOneLineThatSaysWhatIsAcceptedAndStatus2) {
  for (const auto& [arguments, message] : BAD_LINES) {
    expectRefusal(runCard(arguments), message);
  }
}

TEST(PoeCardHelp, SaysThatItCannotBeWritten) {
  for (const char* const option : {"--help", "--version"}) {
    const CardResult result =
        runCard({"--no-adapter", "--", "sh", "-c", std::string(POE_CARD " ") + option + " >/dev/full"});
    EXPECT_EQ(result.err, "poe_card: cannot write to standard output: No space left on device\n") << option;
    EXPECT_EQ(result.status, 1) << option;
  }
}

} // namespace
