// --log: the command's syslog lines in a file, for commands of every make.
#include "card_process.h"
#include "tests/support/process/command.h"

#include <algorithm>
#include <cmath>
#include <csignal>
#include <ctime>
#include <fstream>
#include <gtest/gtest.h>

#include <sys/stat.h>

namespace {

class PoeCardLog : public testing::TestWithParam<const char*> {
protected:
  // Runs a probe of this make; `log` then holds what is in the file.
  CardResult runLogged(const std::vector<std::string>& words) {
    std::vector<std::string> arguments = {"--log", file(), "--", probe()};
    arguments.insert(arguments.end(), words.begin(), words.end());
    CardResult result = runCard(arguments);
    m_log = m_directory.read("log");
    return result;
  }
  std::string file() const { return m_directory.file("log"); }
  std::string probe() const {
    const std::string plain = CARD_PROBE;
    return plain.substr(0, plain.rfind("plain")) + GetParam();
  }

  TemporaryDirectory m_directory;
  std::string m_log;
};

TEST_P(PoeCardLog, HoldsEachLineWithItsPriorityBesideBusTransfers) {
  const CardResult result =
      runLogged({"open", "bind:0x20", "log:3:Range Error", "read:0x43", "vlog:6:all is well"});
  EXPECT_EQ(result.out, "ok\nok\n0x41\n");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.status, 0);
  EXPECT_FALSE(result.leftFiles);
  EXPECT_EQ(m_log, "<3> Range Error\n<6> all is well\n");
}

TEST_P(PoeCardLog, HasTheTimeOfEachLineWhenItIsWanted) {
  const std::string longText(2000, 'x');
  runCard({"--log", file(), "--log-times", "--", probe(), "log:3:Range Error", "log:6:" + longText});
  std::ifstream lines(file());
  const std::string texts[] = {"<3> Range Error", "<6> " + longText};
  for (const std::string& text : texts) {
    std::string line;
    std::getline(lines, line);
    tm time{};
    const char* const rest = strptime(line.c_str(), "%Y-%m-%dT%H:%M:%S", &time);
    ASSERT_NE(rest, nullptr) << line;
    EXPECT_LE(std::abs(std::difftime(std::time(nullptr), timegm(&time))), 60) << line;
    EXPECT_EQ(line.substr(19, 1) + line.substr(23, 2) + line.substr(25), ".Z " + text);
  }
}

TEST_P(PoeCardLog, HoldsTheTextAsItIsAndEndsALineOnlyOnce) {
  runLogged({"log:3:ended\n", "log:3: two  blanks ", "log:3:", "log:3:two\nlines\n"});
  EXPECT_EQ(m_log, "<3> ended\n<3>  two  blanks \n<3> \n<3> two\nlines\n");
}

TEST_P(PoeCardLog, LeavesTheFacilityOut) {
  runLogged({"log:0x9B:from facility 19"});
  EXPECT_EQ(m_log, "<3> from facility 19\n");
}

TEST_P(PoeCardLog, HoldsTextsOfEveryLengthWhole) {
  std::vector<std::string> words;
  std::string expected;
  for (const std::size_t length : {1016U, 1017U, 1018U, 1019U, 1020U, 1021U, 5000U}) {
    words.push_back("log:4:" + std::string(length, 'x'));
    expected += "<4> " + std::string(length, 'x') + "\n";
  }
  runLogged(words);
  EXPECT_EQ(m_log, expected);
}

TEST_P(PoeCardLog, PutsTheCallersErrorForPercentM) {
  runLogged({"looped:3"});
  EXPECT_EQ(m_log, "<3> open: Too many levels of symbolic links\n");
}

// The first time of day looks for the time zone's file, which fails.
TEST_P(PoeCardLog, PutsTheCallersErrorForPercentMAfterTheTime) {
  run("TZ=/nowhere '" POE_CARD "' --log '" + file() + "' --log-times -- '" + probe() + "' looped:3");
  std::string line;
  std::getline(std::ifstream(file()), line);
  EXPECT_EQ(line.substr(std::min(line.size(), line.find('Z'))),
            "Z <3> open: Too many levels of symbolic links");
}

TEST_P(PoeCardLog, LeavesOutWhatTheCommandMasks) {
  runLogged({"mask:0x08", "log:3:kept", "log:6:masked"}); // LOG_MASK(LOG_ERR)
  EXPECT_EQ(m_log, "<3> kept\n");
}

TEST_P(PoeCardLog, IsAppendedToAnExistingFile) {
  std::ofstream(file()) << "before\n";
  runLogged({"log:3:after"});
  EXPECT_EQ(m_log, "before\n<3> after\n");
}

TEST_P(PoeCardLog, KeepsTheLinesOfManyThreadsWhole) {
  const CardResult result = runLogged({"flood:8:250"});
  EXPECT_EQ(result.err, "");
  std::vector<std::string> expected;
  for (int thread = 0; thread < 8; ++thread) {
    for (int line = 0; line < 250; ++line) {
      expected.push_back("<6> thread " + std::to_string(thread) + " line " + std::to_string(line) +
                         " of a flood");
    }
  }
  std::vector<std::string> lines = linesOf(m_log);
  std::sort(expected.begin(), expected.end());
  std::sort(lines.begin(), lines.end());
  EXPECT_EQ(lines, expected);
}

INSTANTIATE_TEST_SUITE_P(Makes, PoeCardLog, testing::Values(CARD_PROBE_MAKES),
                         [](const auto& make) { return std::string(make.param); });

TEST(PoeCardInAFolderWithABlank, CapturesTheLogAllTheSame) {
  const TemporaryDirectory directory;
  const std::filesystem::path built = std::filesystem::path(POE_CARD).parent_path().parent_path();
  const std::filesystem::path moved = directory.path() / "line card";
  create_directories(moved / "bin");
  copy(POE_CARD, moved / "bin");
  copy(built / "libexec", moved / "libexec", std::filesystem::copy_options::recursive);
  const std::string file = directory.file("log");
  const CommandResult result = run("'" + (moved / "bin" / "poe_card").string() + "' --log " + file +
                                   " -- " CARD_PROBE " log:3:here && cat " + file);
  EXPECT_EQ(result.output, "<3> here\n");
  EXPECT_EQ(result.status, 0);
}

TEST(PoeCardLogFile, ThatIsFullIsReportedOnceAndInTheStatus) {
  const CardResult result =
      runCard({"--log", "/dev/full", "--", CARD_PROBE, "log:3:one", "log:3:two", "exit:0"});
  EXPECT_EQ(result.err, "poe_card: --log: /dev/full does not take every line: No space left on device\n");
  EXPECT_EQ(result.status, 1);
}

TEST(PoeCardLogFile, ThatIsFullIsReportedWhileTheCommandRuns) {
  const TemporaryDirectory tmp;
  CardProcess card(tmp.path(), {"--log", "/dev/full", "--", "sh", "-c",
                                "exec \"$0\" log:3:one catch:15 wait:15 2>&-", CARD_PROBE});
  EXPECT_EQ(card.errorLine(), "poe_card: --log: /dev/full does not take every line: No space left on device");
  card.send(SIGTERM);
  EXPECT_EQ(card.wait(), 1);
}

TEST(PoeCardLogFile, ThatTheCommandCannotOpenIsReported) {
  const TemporaryDirectory tmp;
  const std::string file = tmp.file("folder/log");
  std::filesystem::create_directory(tmp.file("folder"));
  // Descriptor 0 is free for the report.
  const CardResult result =
      runCard({"--log", file, "--", "sh", "-c", R"(rm -r "$1" && exec "$0" log:3:one 0<&-)", CARD_PROBE,
               tmp.file("folder")});
  EXPECT_EQ(result.err,
            "poe_card: --log: " + file + " does not take every line: No such file or directory\n");
  EXPECT_EQ(result.status, 1);
}

TEST(PoeCardLogFile, ThatTakesOnlyPartOfALineIsReported) {
  const TemporaryDirectory tmp;
  const std::string file = tmp.file("log");
  // A limit of one block of 512 bytes on the size of a file, whose signal the command ignores.
  const CommandResult result = run(
      "'" POE_CARD "' --log '" + file +
      "' -- sh -c \"trap '' XFSZ; ulimit -f 1; exec '" CARD_PROBE "' log:3:" + std::string(1000, 'x') + "\"");
  EXPECT_EQ(result.output,
            "poe_card: --log: " + file + " does not take every line: No space left on device\n");
  EXPECT_EQ(result.status, 1);
}

TEST(PoeCardLogFile, OrRecordThatIsAPipeIsRefused) {
  const TemporaryDirectory tmp;
  ASSERT_EQ(mkfifo(tmp.file("pipe").c_str(), 0600), 0);
  for (const std::string option : {"--log", "--record"}) {
    expectRefusal(runCard({option, tmp.file("pipe"), "--", "true"}),
                  option + ": cannot write " + tmp.file("pipe") +
                      ": it is a pipe or a socket; accepted is a file that can be written");
  }
}

TEST(PoeCardWithoutLog, PreloadsNothingMoreThanTheDevice) {
  const CardResult result = runCard({"--", "sh", "-c", "echo $LD_PRELOAD"});
  EXPECT_EQ(result.out, "libumockdev-preload.so.0\n");
}

// A library that every program has loaded already, and the option without which AddressSanitizer refuses it.
TEST(PoeCard, KeepsWhatItsCallerPreloads) {
  const TemporaryDirectory tmp;
  const std::string card = "LD_PRELOAD=libc.so.6 ASAN_OPTIONS=verify_asan_link_order=0 '" POE_CARD "' ";
  const std::string command = " -- sh -c 'echo $LD_PRELOAD'";
  EXPECT_EQ(run(card + command).output, "libumockdev-preload.so.0:libc.so.6\n");
  EXPECT_EQ(run(card + "--log " + tmp.file("log") + command).output,
            "libumockdev-preload.so.0:libc.so.6:libpoe_card_syslog.so\n");
}

} // namespace
