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

struct FailureRow {
  const char* name;
  const char* steps; // the last one fails
  const char* reason;
};

class PlayFailure : public Play, public ::testing::WithParamInterface<FailureRow> {};

TEST_P(PlayFailure, HasItsReason) {
  const CommandResult result = play(GetParam().steps);
  const std::size_t failure = result.output.find("not ok");
  ASSERT_NE(failure, std::string::npos) << result.output;
  const std::size_t reason = result.output.find('\n', failure) + 1;
  const std::string expected = std::string("# ") + GetParam().reason + "\n";
  EXPECT_EQ(result.output.substr(reason, expected.size()), expected) << result.output;
  EXPECT_EQ(result.output.find("not ok", reason), std::string::npos) << result.output;
  EXPECT_EQ(result.status, 1);
}

const FailureRow FAILURES[] = {
    {"WithinSeconds", "expect chip mainPower 5 within 1.5", "chip mainPower is 0; expected is 5"},
    {"WithinSecondsWithoutAMessage",
     "after 1 message\ncard temperature 50\nexpect chip deviceTemperature 50 within 0.1",
     "no status message came"},
    {"Stays", "after 1 message\ncard temperature 50\nexpect chip deviceTemperature stays 40 for 3 messages",
     "chip deviceTemperature is 50; expected is 40"},
    {"StaysAlready",
     "card temperature 50\nafter 1 message\n"
     "expect chip deviceTemperature stays 40 for 3 messages",
     "chip deviceTemperature is 50; expected is 40"},
    {"TooMuch", "card reg 0x79 2\nexpect port 0 overLoadCounter +1 within 2 messages",
     "port 0 overLoadCounter is 2, +2 since the last apply, card or console step; expected is +1"},
    {"OfAnOlderStep",
     "card reg 0x79 2\nexpect port 0 overLoadCounter +2\ncard temperature 20\n"
     "expect port 0 overLoadCounter +2 within 1 message",
     "port 0 overLoadCounter is 2, +0 since the last apply, card or console step; expected is +2"},
    {"PortsOfTwoMessages",
     "apply four_ports.toml\nafter 1 message\ncard reg 0x79 1\nafter 2 messages\n"
     "expect ports 0,1 overLoadCounter +1 within 2 messages",
     "port 1 overLoadCounter is 0, +0 since the last apply, card or console step; expected is +1"},
    {"CountersSince",
     "after 1 message\ncard reg 0x79 1\nexpect ports 1,2 counters unchanged since line 1\ncard temperature "
     "30\nexpect ports 0,1 counters unchanged since line 1",
     "port 0 overLoadCounter is 1, was 0; expected is no change since line 1"},
    {"CountersSinceALaterLine",
     "card reg 0x79 1\nafter 2 messages\ncard reg 0x79 2\nexpect ports 0 counters unchanged since line 2",
     "port 0 overLoadCounter is 2, was 1; expected is no change since line 2"},
    {"LogAfterTheMark", "mark log\nexpect log \"Card is ready\" within 1 message",
     "no line of the log has this text"},
    {"Register", "expect register 0x43 0x42 within 1 message", "register 0x43 is 0x41; expected is 0x42"},
    {"RegisterStays", "card reg 0x15 1\nexpect register 0x15 stays 0x00 for 1 message",
     "register 0x15 is 0x01; expected is 0x00"},
    {"Log", "expect log \"no such line\" within 1 message", "no line of the log has this text"},
    {"LogInOrder", "expect log \"default configuration\"\nexpect log \"Card is ready\" within 1 message",
     "no line of the log has this text"},
    {"NoLog", "expect no log \"default configuration\"", "a line of the log has this text"},
    {"NoLogLater", "card power-cycle\nexpect no log \"not initialised\" for 3 messages",
     "a line of the log has this text"},
    {"ConsoleShows", "console readReg 0x43 shows \"0x43:0x42\"", "the reply does not have this text:"},
};

INSTANTIATE_TEST_SUITE_P(Steps, PlayFailure, ::testing::ValuesIn(FAILURES),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(Play, StopsAtAStepThatCannotBeDone) {
  const CommandResult result = play("card unplug 4\nwait 1\n");
  const std::string start = "TAP version 13\n1..2\nnot ok 1 - line 1: card unplug 4\n# card: ";
  EXPECT_EQ(result.output.substr(0, start.size()), start);
  const std::string end = "\nBail out! what follows line 1 needs that step\n";
  EXPECT_EQ(result.output.substr(result.output.size() - std::min(end.size(), result.output.size())), end);
  EXPECT_EQ(std::count(result.output.begin(), result.output.end(), '\n'), 5) << result.output;
  EXPECT_EQ(result.status, 1);
}

TEST_F(Play, NeverJudgesAMessageFromBeforeTheStep) {
  const CommandResult result = play("after 1 message\n"
                                    "card temperature 50\n"
                                    "expect chip deviceTemperature 40 within 1 message\n");
  EXPECT_NE(result.output.find("\nnot ok 3 - "), std::string::npos) << result.output;
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
  const CommandResult result =
      run(ISOLATED " bash -c '" BIN "/poectl play " + m_folder.write("f.play", "wait 9") +
          " & while " BIN "/poectl preflight >/dev/null 2>&1; do sleep 0.05; done; kill $!; wait $!; "
          "echo status $?; " BIN "/poectl preflight'");
  EXPECT_EQ(result.output, "TAP version 13\n1..1\nBail out! interrupted by a signal\nstatus 1\n");
  EXPECT_EQ(result.status, 0) << "nothing is left behind";
}

// Nothing is printed or created for a file that is refused.
TEST_F(Play, RefusesABadFileWithOneLineAndStatus2) {
  const CommandResult unknown = playAlone("wait 1\nplug 0\n");
  EXPECT_EQ(unknown.output,
            "poectl: " + m_file +
                ":2:1: unknown step 'plug'; apply, card, console, wait, after, mark and expect "
                "are accepted\n");
  EXPECT_EQ(unknown.status, 2);
  const CommandResult configuration = playAlone("apply none.toml\n");
  EXPECT_EQ(configuration.output, "poectl: " + m_file + ":1:7: apply: " + m_folder.file("none.toml") +
                                      ": cannot be read: No such file or directory\n");
  EXPECT_EQ(configuration.status, 2);
  const CommandResult log = playAlone("wait 1\nexpect log \"a\"\n");
  EXPECT_EQ(log.output,
            "poectl: " + m_file + ":2:1: the step needs the log's file; --log FILE is accepted\n");
  EXPECT_EQ(log.status, 2);
  EXPECT_EQ(playAlone("mark log\n").output,
            "poectl: " + m_file + ":1:1: the step needs the log's file; --log FILE is accepted\n");
  const CommandResult noLog = playAlone("expect log \"a\"\n", "--log /nowhere/service.log");
  EXPECT_EQ(noLog.output, "poectl: /nowhere/service.log: cannot be read: No such file or directory\n");
  EXPECT_EQ(noLog.status, 2);
}

TEST_F(Play, TakesTheScenarioFromStandardInput) {
  const CommandResult result = run("echo plug | " BIN "/poectl play -");
  EXPECT_EQ(
      result.output,
      "poectl: standard input:1:1: unknown step 'plug'; apply, card, console, wait, after, mark and expect "
      "are accepted\n");
  EXPECT_EQ(result.status, 2);
}

} // namespace
