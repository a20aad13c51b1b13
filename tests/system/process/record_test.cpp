// Records of the real service on the simulated card: made by watch, replayed and drawn.
#include "tests/support/process/process_fixture.h"
#include "tests/support/process/started_command.h"
#include "tests/support/process/temporary_directory.h"
#include "tests/support/process/wait_until.h"
#include "tests/system/process/command.h"
#include "tests/system/process/pattern.h"

#include <sys/stat.h>

namespace {

class PoectlRecord : public ServiceTest {
protected:
  PoectlRecord() {
    service = std::make_unique<ServiceProcess>(
        ServiceOptions{{"--stepped", "--control", socket, "--plug", "0 class=2 watts=6"}, {}});
  }

  // Does to the card what every kind of event comes from; each step waits for its event.
  void playScenario(StartedCommand& watch) const {
    const std::vector<std::pair<std::string, std::string>> steps = {
        {"plug 1 class=4 watts=22", R"("to":"DELIVERINGPOWER")"},
        {"unplug 0", R"("port":0,"counter":"underLoadCounter")"},
        {"plug 2 signature=low", R"("port":2,"from":"SEARCHING","to":"FAULT")"},
        {"draw 1 35", R"("port":1,"counter":"overLoadCounter")"},
        {"thermal on", R"("event":"thermalShutdown")"},
        {"thermal off", R"("event":"thermalShutdownOver")"},
        {"bus dead", R"("event":"chipLost")"},
        {"bus ok", R"("event":"chipRecovered")"},
    };
    for (const auto& step : steps) {
      const std::string& command = step.first;
      const std::string& event = step.second; // a lambda cannot capture a structured binding
      ASSERT_EQ(run(POECTL " card --control " + socket + " " + command).status, 0) << command;
      ASSERT_TRUE(waitUntil([&] { return watch.output().find(event) != std::string::npos; }))
          << command << "\n"
          << watch.output();
    }
  }

  // Records the scenario while watch shows the events. Expects that a replay shows the same events.
  void expectSameEvents(const std::vector<std::string>& options) const {
    std::vector<std::string> words = {POECTL, "watch", "--events", "--json", "--record", record};
    words.insert(words.end(), options.begin(), options.end());
    StartedCommand watch(words);
    ASSERT_TRUE(waitUntil([&] { return folder.read("r").find('\n') != std::string::npos; }));
    playScenario(watch);
    watch.send(SIGINT);
    EXPECT_EQ(watch.wait(), 0);
    std::string live = watch.output();
    if (live.rfind("poectl: from the console", 0) == 0) { // on standard error
      live.erase(0, live.find('\n') + 1);
    }
    EXPECT_EQ(poectl("replay --events --json " + record).output, live);
    EXPECT_EQ(poectl("replay --json " + record).output, folder.read("r"));
  }

  const TemporaryDirectory folder;
  const std::string record = folder.file("r");
  const std::string socket = folder.file("socket");
};

TEST_F(PoectlRecord, OfMessagesIsReplayedWithTheEventsThatWereSeenLive) {
  expectSameEvents({"--example"});
}

TEST_F(PoectlRecord, OfTheConsoleIsReplayedWithTheEventsThatWereSeenLive) {
  ASSERT_EQ(poectl("watch --example --count 3").status, 0);
  expectSameEvents({"--from", "console", "--every", "0.3"});
}

TEST_F(PoectlRecord, HasWhatWatchPrintsBesideIt) {
  const std::string json = poectl("watch --json --count 2 --record " + record).output;
  EXPECT_EQ(folder.read("r"), json);
  const CommandResult text = poectl("watch --count 2 --record " + record);
  EXPECT_TRUE(containsPattern(text.output, "Z message 2 from the queue")) << text.output;
  const std::string replayed = poectl("replay " + record).output;
  EXPECT_EQ(replayed.substr(replayed.size() - text.output.size()), text.output);
}

TEST_F(PoectlRecord, ThatIsRefusedKeepsWatchFromStarting) {
  ASSERT_EQ(mkfifo(record.c_str(), 0600), 0);
  EXPECT_EQ(poectl("watch --count 1 --record " + record),
            refusedWith(record + ": is no regular file; accepted is a regular file, or a name that is free"));
}

// A limit of the shell stands for a full disk.
TEST_F(PoectlRecord, ThatCannotBeWrittenIsReportedOnceAndWatchGoesOn) {
  const CommandResult result = run("trap '' XFSZ; ulimit -f 1; " + std::string(POECTL) +
                                   " watch --events --count 3 --record " + record);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.output,
            "poectl: " + record +
                ": cannot be written: No space left on device; it is tried again with each record\n");
}

TEST_F(PoectlRecord, ThatIsDamagedIsShownUpToTheDamage) {
  ASSERT_EQ(poectl("watch --events --count 2 --record " + record).status, 0);
  const std::string whole = folder.read("r");
  folder.write("r", whole.substr(0, whole.size() - 10));
  const std::string error = "poectl: " + record + ":2: the line is cut; shown is the 1 record before it\n";
  const std::string first = whole.substr(0, whole.find('\n') + 1);
  const CommandResult json = poectl("replay --json " + record);
  EXPECT_EQ(json.status, 2);
  EXPECT_EQ(json.output, first + error);
  EXPECT_EQ(poectl("replay --json --skip-damaged " + record),
            printed("poectl: " + record + ":2: the line is cut; passed over\n" + first));
  EXPECT_EQ(poectl("plot " + record + " --out " + folder.file("p.svg")), (CommandResult{2, error}));
  EXPECT_NE(folder.read("p.svg"), "");
}

TEST_F(PoectlRecord, IsNotOverwrittenByItsPlot) {
  ASSERT_EQ(poectl("watch --events --count 1 --record " + record).status, 0);
  const std::string before = folder.read("r");
  EXPECT_EQ(poectl("plot " + record + " --out " + record),
            refusedWith("--out names the record itself; accepted is another file"));
  EXPECT_EQ(folder.read("r"), before);
}

TEST_F(PoectlRecord, IsNotDrawnWithoutGnuplot) {
  ASSERT_EQ(poectl("watch --events --count 1 --record " + record).status, 0);
  EXPECT_EQ(run("PATH=" + folder.path().string() + "; " POECTL " plot " + record),
            failedWith("gnuplot is not installed; the Debian package gnuplot-nox has it"));
}

} // namespace
