// Timed commands, record, register images and stepped time, as a program finds them.
#include "card_process.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace {

class PoeCardFiles : public testing::Test {
protected:
  std::string write(const std::string& name, const std::string& text) const {
    return m_directory.write(name, text);
  }
  std::string read(const std::string& name) const { return m_directory.read(name); }
  std::string path(const std::string& name) const { return m_directory.file(name); }

  static CardResult runProbe(std::vector<std::string> options, const std::vector<std::string>& words) {
    options.insert(options.end(), {"--", CARD_PROBE, "open", "bind:0x20"});
    options.insert(options.end(), words.begin(), words.end());
    return runCard(options);
  }

private:
  TemporaryDirectory m_directory;
};

TEST_F(PoeCardFiles, CommandWithoutATimeChangesTheCardBeforeTheProgramStarts) {
  EXPECT_EQ(runProbe({"--command", "reg 0x20 0x33", "--command", "bus register 0x21"},
                     {"read:0x20", "read:0x21", "read:0x20"})
                .out,
            "ok\nok\n0x33\nNo such device or address\n0x33\n");
}

TEST_F(PoeCardFiles, CommandsAndPlugsComeInTheirOrder) {
  EXPECT_EQ(runProbe({"--stepped", "--plug", "0", "--command", "unplug 0", "--plug", "1"},
                     {"write:0x12:0xFF", "write:0x14:0xFF", "await:0x0D:0x64", "read:0x0C"})
                .out,
            "ok\nok\nok\nok\n0x64\n0x06\n");
}

TEST_F(PoeCardFiles, CommandWithATimeChangesTheCardWhileTheProgramRuns) {
  EXPECT_EQ(runProbe({"--command", "0.4 reg 0x20 3", "--command", "0.2 reg 0x20 2", "--command",
                      "0.3 reg 0x21 2", "--command", "1000 reg 0x20 4", "--command", "reg 0x20 1"},
                     {"await:0x21:2", "await:0x20:3", "read:0x20"})
                .out,
            "ok\nok\n0x02\n0x03\n0x03\n");
}

TEST_F(PoeCardFiles, CommandThatIsWrongRunsNothing) {
  const CardResult result =
      runProbe({"--command", "plug 0", "--command", "1 plug 4", "--record", path("record")}, {});
  EXPECT_EQ(
      result.err,
      "poe_card: --command: '4' is no PORT; accepted is plug PORT [class=C] [watts=W] [signature=S] with "
      "PORT 0 to 3, C 0 to 4, W 0 to 100, S good, short, capacitance, low, high or none\n");
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.status, 2);
  EXPECT_FALSE(std::filesystem::exists(path("record")));
}

TEST_F(PoeCardFiles, RecordHasEachTransferOfTheChip) {
  runProbe({"--record", path("record")},
           {"read:0x43", "write:0x12:0x5A", "read:0xCF", "bind:0x21", "read:0x43", "bind:0x20", "read:0x12"});
  EXPECT_EQ(read("record"), "R 0x43 0x41\nW 0x12 0x5A\nR 0xCF failed unknown\nR 0x12 0x5A\n");
}

TEST_F(PoeCardFiles, RecordOfACommandThatIsKilledIsWhole) {
  EXPECT_EQ(runProbe({"--record", path("record")}, {"read:0x43", "write:0x12:1", "die:9"}).status, 128 + 9);
  EXPECT_EQ(read("record"), "R 0x43 0x41\nW 0x12 0x01\n");
}

TEST_F(PoeCardFiles, RecordWithTimesOfASteppedCardHasAStepOf15Milliseconds) {
  runProbe({"--stepped", "--record", path("record"), "--record-times"}, {"read:0x43", "write:0x12:1"});
  EXPECT_EQ(read("record"), "0.015000 R 0x43 0x41\n0.030000 W 0x12 0x01\n");
}

TEST_F(PoeCardFiles, RecordThatDoesNotTakeEveryTransferIsReported) {
  const CardResult result = runProbe({"--record", "/dev/full"}, {"read:0x43"});
  EXPECT_EQ(result.out, "ok\nok\n0x41\n");
  EXPECT_EQ(result.err, "poe_card: --record: /dev/full did not take all transfers\n");
  EXPECT_EQ(result.status, 1);
}

TEST_F(PoeCardFiles, RegisterImageIsLoadedByACommand) {
  const std::string image = write("image", "     0  1  2  3  4  5  6  7  8  9  a  b  c  d  e  f\n"
                                           "40:          62\n"
                                           "90: 00 10\n");
  EXPECT_EQ(
      runProbe({"--command", "load " + image}, {"read:0x43", "read:0x90", "read:0x91", "read:0x7F"}).out,
      "ok\nok\n0x62\n0x00\n0x10\n0x02\n");
}

TEST_F(PoeCardFiles, RegisterImageThatIsWrongIsRefusedWithItsPlace) {
  const std::string image = write("image", "hello\n");
  const CardResult result = runProbe({"--command", "load " + image}, {});
  EXPECT_EQ(result.err, "poe_card: --command: '" + image +
                            "', line 1: 'hello' is not the heading; accepted is "
                            "'     0  1  2  3  4  5  6  7  8  9  a  b  c  d  e  f'\n");
  EXPECT_EQ(result.status, 2);
}

} // namespace
