// The completions for bash, by bash and the tools themselves.
#include "tests/support/process/command.h"

#include <gtest/gtest.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

// What bash offers for the last word of a line, one candidate per line. The tools are found by their paths.
std::string completed(const std::string& tool, const std::string& path, const std::string& words) {
  return run("bash -c '. " COMPLETIONS "/" + tool + "; COMP_WORDS=(" + path + " " + words +
             "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _" + tool + "; printf \"%s\\n\" \"${COMPREPLY[@]}\"'")
      .output;
}

std::string afterPoectl(const std::string& words) {
  return completed("poectl", POECTL, words);
}

TEST(Completion, OffersTheCommands) {
  EXPECT_EQ(
      afterPoectl("\"\""),
      "example\ncheck\napply\nexplain\nport\ndiff\nsave\nstatus\nwatch\nserve\nsnmp\nreplay\nplot\npublish\n"
      "diagnose\nreport\ncard\n"
      "console\nplay\npreflight\nclean\n--help\n--version\n");
  EXPECT_EQ(afterPoectl("wat"), "watch\n");
  EXPECT_EQ(afterPoectl("no such"), "\n");
}

TEST(Completion, OffersTheOptionsOfACommand) {
  EXPECT_EQ(afterPoectl("explain --"), "--status\n--bank-limit\n--port\n--help\n");
  EXPECT_EQ(afterPoectl("clean \"\""), "--force\n--help\n");
}

TEST(Completion, OffersFilesWhereACommandTakesThem) {
  const std::string file = COMPLETIONS "/poe_c";
  EXPECT_EQ(afterPoectl("apply " + file), file + "ard\n");
  EXPECT_EQ(afterPoectl("play --log " + file), file + "ard\n");
  EXPECT_EQ(afterPoectl("explain --bank-limit " + file), "\n");
  EXPECT_EQ(afterPoectl("status " + file), "\n");
}

TEST(Completion, OffersOnlyDirectoriesWhereAnOptionTakesOne) {
  const std::string folder = COMPLETIONS "/../bash-comp";
  for (const char* const command : {"publish --directory ", "snmp --directory "}) {
    EXPECT_EQ(afterPoectl(command + folder), folder + "letion\n");
    EXPECT_EQ(afterPoectl(command + std::string(COMPLETIONS "/poe_c")), "\n");
  }
}

TEST(Completion, OffersPortsAndVerbs) {
  EXPECT_EQ(afterPoectl("port \"\""), "--file\n--help\n0\n1\n2\n3\n");
  EXPECT_EQ(afterPoectl("port --file x 2 o"), "on\noff\n");
  EXPECT_EQ(afterPoectl("port 2 limit 1"), "\n");
}

TEST(Completion, OffersTheWordsOfTheConsole) {
  EXPECT_EQ(afterPoectl("console po"), "poeport\n");
  EXPECT_EQ(afterPoectl("console PD69104Engine read"), "readReg\n");
  EXPECT_EQ(afterPoectl("console channel \"\""), "0\n1\n2\n3\n");
}

TEST(Completion, OffersTheSourcesOfTheStatus) {
  EXPECT_EQ(afterPoectl("watch --from \"\""), "queue\nconsole\n");
}

TEST(Completion, OffersTheWordsOfTheCardThatRuns) {
  const std::string socket = "/tmp/completion_test-" + std::to_string(getpid()) + ".socket";
  const std::string line = POECTL " complete -- card --control " + socket + " power";
  EXPECT_EQ(run(POE_CARD " --control " + socket + " -- " + line).output, "power-cycle\n");
  EXPECT_EQ(run(line).output, "") << "without a card";
}

TEST(Completion, OffersTheOptionsOfTheCard) {
  EXPECT_EQ(completed("poe_card", POE_CARD, "--re"), "--record\n--record-times\n");
  EXPECT_EQ(completed("poe_card", POE_CARD, "--record " COMPLETIONS "/poe_c"), COMPLETIONS "/poe_card\n");
  EXPECT_EQ(completed("poe_card", POE_CARD, "-- tru"), run("bash -c 'compgen -c tru'").output);
}

} // namespace
