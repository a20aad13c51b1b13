// The files of a card: the record of its transfers, and register images.
#include "card_process.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace {

class PoeCardFiles : public testing::Test {
protected:
  std::string record() const { return m_directory.file("record"); }
  std::string recorded() const { return m_directory.read("record"); }

  static CardResult runProbe(const std::vector<std::string>& options, std::vector<std::string> words) {
    words.insert(words.begin(), {"open", "bind:0x20"});
    return ::runProbe(options, words);
  }

  const TemporaryDirectory m_directory;
};

TEST_F(PoeCardFiles, CommandThatIsWrongRunsNothing) {
  expectRefusal(
      runProbe({"--command", "plug 0", "--command", "1 plug 4", "--record", record()}, {}),
      "--command: '4' is no PORT; accepted is plug PORT [class=C] [watts=W] [signature=S] with PORT 0 to 3, "
      "C 0 to 4, W 0 to 100, S good, short, capacitance, low, high or none");
  EXPECT_FALSE(std::filesystem::exists(record()));
}

TEST_F(PoeCardFiles, RecordHasEachTransferOfTheChip) {
  runProbe({"--record", record()},
           {"read:0x43", "write:0x12:0x5A", "read:0xCF", "bind:0x21", "read:0x43", "bind:0x20", "read:0x12"});
  EXPECT_EQ(recorded(), "R 0x43 0x41\nW 0x12 0x5A\nR 0xCF failed unknown\nR 0x12 0x5A\n");
}

TEST_F(PoeCardFiles, RecordOfACommandThatIsKilledIsWhole) {
  EXPECT_EQ(runProbe({"--record", record()}, {"read:0x43", "write:0x12:1", "die:9"}).status, 128 + 9);
  EXPECT_EQ(recorded(), "R 0x43 0x41\nW 0x12 0x01\n");
}

TEST_F(PoeCardFiles, RecordWithTimesOfASteppedCardHasAStepOf15Milliseconds) {
  runProbe({"--stepped", "--record", record(), "--record-times"}, {"read:0x43", "write:0x12:1"});
  EXPECT_EQ(recorded(), "0.015000 R 0x43 0x41\n0.030000 W 0x12 0x01\n");
}

TEST_F(PoeCardFiles, RecordThatDoesNotTakeEveryTransferIsReported) {
  const CardResult result = runProbe({"--record", "/dev/full"}, {"read:0x43"});
  EXPECT_EQ(result.out, "ok\nok\n0x41\n");
  EXPECT_EQ(result.err, "poe_card: --record: /dev/full did not take all transfers\n");
  EXPECT_EQ(result.status, 1);
}

TEST_F(PoeCardFiles, RegisterImageIsLoadedByACommand) {
  const std::string image = m_directory.write("image", "     0  1  2  3  4  5  6  7  8  9  a  b  c  d  e  f\n"
                                                       "40:          62\n"
                                                       "90: 00 10\n");
  EXPECT_EQ(
      runProbe({"--command", "load " + image}, {"read:0x43", "read:0x90", "read:0x91", "read:0x7F"}).out,
      "ok\nok\n0x62\n0x00\n0x10\n0x02\n");
}

TEST_F(PoeCardFiles, RegisterImageThatIsWrongIsRefusedWithItsPlace) {
  const std::string image = m_directory.write("image", "hello\n");
  expectRefusal(runProbe({"--command", "load " + image}, {}),
                "--command: '" + image +
                    "', line 1: 'hello' is not the heading; accepted is "
                    "'     0  1  2  3  4  5  6  7  8  9  a  b  c  d  e  f'");
}

} // namespace
