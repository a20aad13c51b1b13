// "poectl card" with the real simulated card: poe_card runs it as its command and tells it the socket.
#include "tests/support/process/command.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

namespace {

// A shell command on a card of its own, in which "$card" is "poectl card".
CommandResult onCard(const std::string& command) {
  const std::string socket = "/tmp/card_command_test-" + std::to_string(getpid()) + ".socket";
  return run("card='" POECTL " card' " POE_CARD " --control " + socket + " -- sh -c '" + command + "'");
}

TEST(PoectlCard, ChangesTheCardAndPrintsItsReply) {
  const CommandResult result =
      onCard("$card plug 0 class=4 watts=22 && $card reg 0x90 && $card reg 0x90 0x0A && "
             "$card reg 0x90 && $card show | grep \"^port 0\"");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output.substr(0, 20), "0x90 0x90\n0x90 0x0A\n");
  EXPECT_NE(result.output.find("class=4"), std::string::npos) << result.output;
}

TEST(PoectlCard, TakesItsCommandsFromStandardInput) {
  EXPECT_EQ(onCard("printf \"reg 0x15 3\\nreg 0x15\\nreg 0x12\\n\" | $card"),
            printed("0x15 0x03\n0x12 0x00\n"));
}

TEST(PoectlCard, EndsItsInputAtARefusedLine) {
  const CommandResult result = onCard("printf \"reg 0x12\\npull\\nreg 0x12\\n\" | $card");
  EXPECT_EQ(result.status, 2);
  const std::string expected = "0x12 0x00\npoectl: card: 'pull' is not understood; ";
  EXPECT_EQ(result.output.substr(0, expected.size()), expected);
  EXPECT_EQ(std::count(result.output.begin(), result.output.end(), '\n'), 2) << result.output;
}

TEST(PoectlCard, SaysWhenThereIsNoCard) {
  EXPECT_EQ(run(POECTL " card --control /nowhere/card.socket show"),
            failedWith("cannot reach the simulated card on /nowhere/card.socket: No such file or directory; "
                       "is poe_card running with --control?"));
}

} // namespace
