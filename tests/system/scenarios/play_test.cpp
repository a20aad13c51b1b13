// What "poectl play" prints and returns: results, failures, and files that are refused.
#include "tests/support/process/command.h"
#include "tests/support/process/temporary_directory.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>

namespace {

class Play : public ::testing::Test {
protected:
  Play() { std::filesystem::copy_file(SCENARIOS "/four_ports.toml", m_folder.file("four_ports.toml")); }

  // Played beside the service.
  CommandResult play(const std::string& text) const {
    return run(SCENARIOS "/run_scenario " BIN " " + m_folder.write("f.play", text));
  }

  // Played where there is no service.
  CommandResult playAlone(const std::string& text, const std::string& options = "") const {
    return run(ISOLATED " " BIN "/poectl play " + m_folder.write("f.play", text) + " " + options);
  }

  const TemporaryDirectory m_folder;
  const std::string m_file = m_folder.file("f.play");
};

const std::string HEADING = "# port  admin  state            class     W  limit W  invalid  denied  overload "
                            " underload  short  classerr\n";

TEST_F(Play, PrintsAResultForEachStepAndItsReply) {
  const CommandResult result = play("# A comment\n"
                                    "apply four_ports.toml\n"
                                    "card reg 0x90\n"
                                    "console readReg 0x90 shows \"0x90:0x0\"\n"
                                    "wait 0.1   # s\n"
                                    "after 2 messages\n"
                                    "expect port 0 state SEARCHING\n"
                                    "expect chip mainPower stays 100 for 1 message\n"
                                    "expect register 0x89 100\n"
                                    "expect log \"default configuration\"\n"
                                    "expect no log \"restarting\"\n"
                                    "mark log\n"
                                    "expect ports 0,3 state SEARCHING\n"
                                    "expect ports 0,1,2,3 counters unchanged since line 4 for 1 message\n"
                                    "apply again\n");
  EXPECT_EQ(result.output,
            "TAP version 13\n"
            "1..14\n"
            "ok 1 - line 2: apply four_ports.toml\n"
            "ok 2 - line 3: card reg 0x90\n"
            "# 0x90 0x00\n"
            "ok 3 - line 4: console readReg 0x90 shows \"0x90:0x0\"\n"
            "# PD69104Engine: value read 0x90:0x0\n"
            "#\n"
            "ok 4 - line 5: wait 0.1\n"
            "ok 5 - line 6: after 2 messages\n"
            "ok 6 - line 7: expect port 0 state SEARCHING\n"
            "ok 7 - line 8: expect chip mainPower stays 100 for 1 message\n"
            "ok 8 - line 9: expect register 0x89 100\n"
            "ok 9 - line 10: expect log \"default configuration\"\n"
            "ok 10 - line 11: expect no log \"restarting\"\n"
            "ok 11 - line 12: mark log\n"
            "ok 12 - line 13: expect ports 0,3 state SEARCHING\n"
            "ok 13 - line 14: expect ports 0,1,2,3 counters unchanged since line 4 for 1 message\n"
            "ok 14 - line 15: apply again\n");
  EXPECT_EQ(result.status, 0);
}

TEST_F(Play, ShowsWhyAnExpectationFailedAndGoesOn) {
  const CommandResult result = play("apply four_ports.toml\n"
                                    "after 2 messages\n"
                                    "expect ports 2 counters unchanged since line 1 for 2 messages\n"
                                    "expect port 2 state FAULT within 2 messages\n"
                                    "expect port 2 state SEARCHING\n");
  const std::string counters = "       0       0         0          0      0         0\n";
  EXPECT_EQ(
      result.output,
      "TAP version 13\n"
      "1..5\n"
      "ok 1 - line 1: apply four_ports.toml\n"
      "ok 2 - line 2: after 2 messages\n"
      "ok 3 - line 3: expect ports 2 counters unchanged since line 1 for 2 messages\n"
      "not ok 4 - line 4: expect port 2 state FAULT within 2 messages\n"
      "# port 2 state is SEARCHING; expected is FAULT\n"
      "# message 7 from the queue: chip running, bank limit 100 W, consumption 0 W, temperature 40 C\n" +
          HEADING + "#    0  on     SEARCHING            -     0       15 " + counters +
          "#    1  on     SEARCHING            -     0       30 " + counters +
          "#    2  on     SEARCHING            -     0       15 " + counters +
          "#    3  on     SEARCHING            -     0       15 " + counters +
          "ok 5 - line 5: expect port 2 state SEARCHING\n");
  EXPECT_EQ(result.status, 1);
}

TEST_F(Play, WaitsAsLongAsTheStepSays) {
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(play("wait 2.5").status, 0);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(2500));
}

TEST_F(Play, BailsOutWithoutAService) {
  const CommandResult result = playAlone("wait 1\n");
  EXPECT_EQ(result.output,
            "TAP version 13\n1..1\n"
            "Bail out! no status message came on /queueToMain for 10 s: is the service running?\n");
  EXPECT_EQ(result.status, 1);
}

TEST_F(Play, BailsOutWithoutACardThatIsNeeded) {
  const std::string play = ISOLATED " " BIN "/poectl play - --control /nowhere/card.socket";
  const std::string both = "{ echo card show | " + play + " & echo expect register 0 0 | " + play;
  const std::string reason =
      "Bail out! cannot reach the simulated card on /nowhere/card.socket: No such file or "
      "directory; is poe_card running with --control? (waited 10 s)\n";
  const CommandResult result = run(both + "; echo status $?; wait $!; echo status $?; } | LC_ALL=C sort");
  EXPECT_EQ(result.output,
            "1..1\n1..1\n" + reason + reason + "TAP version 13\nTAP version 13\nstatus 1\nstatus 1\n");
}

TEST_F(Play, WaitsForTheCardTheServiceAndTheLogThatStartLater) {
  for (const char* const step : {"card show\n", "expect log \"Card is ready\"\n"}) {
    const TemporaryDirectory folder;
    const std::string options = " --control " + folder.file("socket") + " --log " + folder.file("log");
    const std::string play = BIN "/poectl play " + folder.write("f.play", step) + options + " >" +
                             folder.file("out") + " & play=$!; ";
    const std::string card = BIN "/poe_card" + options + " -- " BIN "/poe_service >/dev/null & card=$!; ";
    const CommandResult result = run(ISOLATED " bash -c '" + play + "sleep 0.3; " + card +
                                     "wait $play; status=$?; kill $card; wait $card; exit $status'");
    EXPECT_EQ(result.status, 0) << result.output << folder.read("out");
  }
}

TEST_F(Play, BailsOutAtASignalAndRemovesItsQueue) {
  EXPECT_EQ(run(ISOLATED " bash -c '" BIN "/poectl play " + m_folder.write("f.play", "wait 9") +
                " & while " BIN "/poectl preflight >/dev/null 2>&1; do sleep 0.05; done; kill $!; wait $!; "
                "echo status $?; " BIN "/poectl preflight'"),
            printed("TAP version 13\n1..1\nBail out! interrupted by a signal\nstatus 1\n"))
      << "nothing is left behind";
}

// Nothing is printed or created for a file that is refused.
TEST_F(Play, RefusesABadFileWithOneLineAndStatus2) {
  const std::string noLog = ": the step needs the log's file; --log FILE is accepted";
  const std::string noFile = ": cannot be read: No such file or directory";
  const std::string unknown =
      ":2:1: unknown step 'plug'; apply, card, console, wait, after, mark and expect are accepted";
  EXPECT_EQ(playAlone("wait 1\nplug 0\n"), refusedWith(m_file + unknown));
  EXPECT_EQ(run("printf 'wait 1\nplug' | " BIN "/poectl play -"), refusedWith("standard input" + unknown));
  EXPECT_EQ(playAlone("apply none.toml\n"),
            refusedWith(m_file + ":1:7: apply: " + m_folder.file("none.toml") + noFile));
  EXPECT_EQ(playAlone("wait 1\nexpect log \"a\"\n"), refusedWith(m_file + ":2:1" + noLog));
  EXPECT_EQ(playAlone("mark log\n"), refusedWith(m_file + ":1:1" + noLog));
  EXPECT_EQ(playAlone("expect log \"a\"\n", "--log /nowhere/service.log"),
            refusedWith("/nowhere/service.log" + noFile));
}

} // namespace
