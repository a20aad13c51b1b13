// poectl beside the real service: the console for a script, and its errors.
#include "tests/support/process/process_fixture.h"
#include "tests/support/process/started_command.h"
#include "tests/support/process/wait_until.h"
#include "tests/system/process/command.h"

#include <csignal>
#include <unistd.h>

namespace {

const std::string DISABLED_CHANNEL = "channel 2\n"
                                     "============\n"
                                     "  enable                  = FALSE\n"
                                     "  power_good              = FALSE\n"
                                     "  det_status              = UNKNOWN\n"
                                     "  pclass                  = UNKNOWN\n"
                                     "  fet_error               = FALSE\n"
                                     "  mosfet_overtemperature  = FALSE\n"
                                     "  in_pm_mode              = FALSE\n"
                                     "  passed_MSCC_cap_det     = FALSE\n"
                                     "  det_fail                = FALSE\n"
                                     "\n";

using PoectlConsole = ServiceTest;

TEST_F(PoectlConsole, PutsTheEngineInFrontOfABareCommand) {
  startService();
  EXPECT_EQ(poectl("console channel 2").output, DISABLED_CHANNEL);
  EXPECT_EQ(poectl("console 'channel 2'").output, DISABLED_CHANNEL);
  EXPECT_EQ(poectl("console help").output, "PD69104Engine\n");
  EXPECT_EQ(poectl("console nobody").output, "No such object: nobody\nPD69104Engine\n");
}

TEST_F(PoectlConsole, TakesItsCommandsFromStandardInputWhenThatIsNoTerminal) {
  startService();
  EXPECT_EQ(
      run(std::string("printf 'readReg 0x90\\nchannel 2\\nquit\\nreadReg 0\\n' | ") + POECTL + " console"),
      printed("PD69104Engine: value read 0x90:0x0\n\n" + DISABLED_CHANNEL));
}

TEST_F(PoectlConsole, RefusesALineEndInACommand) {
  EXPECT_EQ(poectl("console 'info\ndevice'"),
            refusedWith("a console command is one line: it cannot contain a line end"));
}

TEST_F(PoectlConsole, TakesTheWordsAfterAMarkAsTheyAre) {
  startService();
  EXPECT_EQ(poectl("console -- channel 2").output, DISABLED_CHANNEL);
  EXPECT_EQ(poectl("console -- --help").output, "No such object: --help\nPD69104Engine\n");
  EXPECT_EQ(poectl("console nobody -- there").output, "No such object: nobody\nPD69104Engine\n");
}

TEST_F(PoectlConsole, DoesNothingForQuit) {
  startService();
  for (const char* const word : {"quit", "exit", "' quit '"}) {
    EXPECT_EQ(poectl(std::string("console ") + word), printed("")) << word;
  }
}

using Poectl = ServiceTest;

TEST_F(Poectl, ExplainStartsFromTheRunningServiceWhileAnotherHasItsMessages) {
  startService({{"--plug", "0 class=2 watts=6", "--plug", "1 class=4 watts=22"}, {}});
  ASSERT_EQ(run(POECTL " example | " POECTL " apply -").status, 0);
  ASSERT_TRUE(waitForPort0(3)); // DELIVERINGPOWER
  const std::string explain = POECTL " example | " POECTL " explain - --status";
  const std::string note = "poectl: reads the bank limit with 9 transfers on the chip's bus\n";
  EXPECT_EQ(run(explain).output, note + "the limits add up to 60 W, the bank allows 100 W: nothing is done\n"
                                        "restarted in every cycle: none\n");
  EXPECT_EQ(
      run(explain + " --bank-limit 20").output,
      note +
          "the limits add up to 60 W, the bank allows 20 W: the ports are served by priority\n"
          "priority 1, port 0: takes 15 W of 20 W, 5 W left\n"
          "priority 2, port 1: needs 30 W of 5 W: does not fit and is powered: is restarted in every cycle\n"
          "priority 3, port 2: detects open_circuit, not good: takes nothing, is left as it is\n"
          "priority 3, port 3: is switched off: takes nothing, is left as it is\n"
          "restarted in every cycle: 1\n");
  EXPECT_EQ(run(explain + " --bank-limit 20 --port '1 powered=no'").output,
            note + "the limits add up to 60 W, the bank allows 20 W: the ports are served by priority\n"
                   "priority 1, port 0: takes 15 W of 20 W, 5 W left\n"
                   "priority 2, port 1: needs 30 W of 5 W: does not fit, but has no power: is left as it is\n"
                   "priority 3, port 2: detects open_circuit, not good: takes nothing, is left as it is\n"
                   "priority 3, port 3: is switched off: takes nothing, is left as it is\n"
                   "restarted in every cycle: none\n");
}

TEST_F(Poectl, ApplyOfAnotherUserSaysWhoIsAccepted) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "only root can become another user";
  }
  startService();
  EXPECT_EQ(run(POECTL " example | setpriv --reuid 4711 --clear-groups " POECTL " apply -").output,
            "poectl: cannot open /queueToPoe: Permission denied; root or the service's user is accepted\n");
}

TEST_F(Poectl, ApplyWithoutAServiceSaysSo) {
  EXPECT_EQ(run(POECTL " example | " POECTL " apply -"),
            failedWith("cannot open /queueToPoe: No such file or directory; is the service running?"));
}

TEST_F(Poectl, ApplyAndCheckRefuseABadFileAndSendNothing) {
  const mqd_t queue = mq_open("/queueToPoe", O_CREAT | O_RDONLY, 0600, nullptr);
  ASSERT_NE(queue, -1);
  const std::string error =
      "poectl: standard input:4:10: 'enable' is of the wrong type; true or false is accepted\n";
  for (const std::string command : {"apply", "check"}) {
    EXPECT_EQ(run("printf '[banks]\nbank0 = 100\n[port.0]\nenable = 7\n' | " POECTL " " + command + " -"),
              (CommandResult{2, error}))
        << command;
  }
  mq_attr attributes{};
  EXPECT_EQ(mq_getattr(queue, &attributes), 0);
  EXPECT_EQ(attributes.mq_curmsgs, 0);
  mq_close(queue);
  mq_unlink("/queueToPoe");
}

TEST_F(Poectl, StatusShowsOneMessageOfTheService) {
  service = std::make_unique<ServiceProcess>(ServiceOptions{});
  const CommandResult text = poectl("status");
  const std::string head = "message 1 from the queue: chip running, bank limit 0 W, consumption 0 W, ";
  EXPECT_EQ(text.status, 0);
  EXPECT_EQ(text.output.substr(0, head.size()), head);
  const CommandResult json = poectl("status --json");
  EXPECT_EQ(json.status, 0);
  EXPECT_NE(json.output.find("\n  \"span_ms\": 0,\n  \"mainPower\": 0,\n  \"mainOperStatus\": 1,\n"),
            std::string::npos)
      << json.output;
  const CommandResult prometheus = poectl("status --prometheus");
  EXPECT_EQ(prometheus.status, 0);
  EXPECT_NE(prometheus.output.find("\npoe_device_temperature_celsius 40\n"), std::string::npos)
      << prometheus.output;
  EXPECT_FALSE(queueExists("/queueToMain"));
}

TEST_F(Poectl, StatusAndWatchWithoutAServiceSayThatNothingCame) {
  for (const char* command : {"status", "watch --seconds 0.2"}) {
    EXPECT_EQ(poectl(command), failedWith("no status message came on /queueToMain: is the service running?"))
        << command;
    EXPECT_FALSE(queueExists("/queueToMain")) << command;
  }
}

TEST_F(Poectl, StatusEndsWithASignalAndLeavesNoQueue) {
  StartedCommand reader({POECTL, "status"});
  EXPECT_TRUE(waitUntil([] { return queueExists("/queueToMain"); }));
  reader.send(SIGINT);
  const int ending = reader.wait();
  EXPECT_TRUE(WIFEXITED(ending));
  EXPECT_EQ(WEXITSTATUS(ending), 1);
  EXPECT_FALSE(queueExists("/queueToMain"));
}

TEST_F(Poectl, SaysThatItsOutputCannotBeWritten) {
  for (const char* const words : {"example", "--help", "--version", "watch --help"}) {
    EXPECT_EQ(poectl(std::string(words) + " >/dev/full"),
              failedWith("cannot write to standard output: No space left on device"))
        << words;
  }
}

} // namespace
