// "poectl status" and "poectl watch" beside a main process that is not poectl.
#include "poectl/record/record_line.h"
#include "poectl/scenario/scenario.h"
#include "poectl/service/queue.h"
#include "poectl/status/status_field.h"
#include "tests/support/process/process_fixture.h"
#include "tests/support/process/reading_main_process.h"
#include "tests/support/process/started_command.h"
#include "tests/support/process/temporary_directory.h"
#include "tests/system/process/command.h"
#include "tests/system/process/pattern.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <sstream>

namespace {

// A line for each field that is not missing: its value of the chip, or those of the ports.
std::string valuesOf(const PoeStatus& status, const std::set<std::string>& missing = {}) {
  std::string text;
  const auto add = [&](const StatusField& field, unsigned places) {
    if (missing.count(field.name) == 0) {
      text += field.name;
      for (unsigned place = 0; place < places; place++) {
        text += " " + std::to_string(field.read(status, place));
      }
      text += "\n";
    }
  };
  for (const StatusField& field : CHIP_FIELDS) {
    add(field, 1);
  }
  forEachPortField([&](const StatusField& field) { add(field, POE_PORTS); });
  return text;
}

class BesideMainProcess : public ServiceTest {
protected:
  void start(std::vector<std::string> options = {}) {
    options.insert(options.end(), {"--stepped", "--control", socket, "--record", record});
    service = std::make_unique<ServiceProcess>(ServiceOptions{options, {}});
    mainProcess.await(1);
  }

  void startConfigured() {
    start({"--plug", "0 class=2 watts=6"});
    EXPECT_EQ(run(POECTL " example | " POECTL " apply -").status, 0);
    EXPECT_TRUE(waitUntil([&] { return mainProcess.last().port[0].operStatus == 3; }));
    mainProcess.await(1);
  }

  void card(const std::string& words) const {
    const CommandResult result = poectl("card --control " + socket + " " + words);
    EXPECT_EQ(result.status, 0) << words << ": " << result.output;
  }

  // Whether a snapshot has the values of the message before or after it. Without transfers that fail nothing
  // is missing.
  testing::AssertionResult snapshotEqualsMessage(bool busIsOk) {
    std::string difference;
    for (int attempt = 0; attempt < 6; attempt++) { // a cycle may come while a snapshot is taken
      const PoeStatus before = mainProcess.last();
      const CommandResult result = poectl("status --json");
      if (result.status != 0) {
        return testing::AssertionFailure() << result.output;
      }
      mainProcess.await(1);
      const Snapshot snapshot = parseRecord(result.output.substr(result.output.find('{')));
      const std::string shown = valuesOf(snapshot.status, snapshot.missing);
      std::set<std::string> missing;
      if (!busIsOk && snapshot.missing.count("powerConsumption") != 0) {
        missing.insert("powerConsumption");
      }
      difference = "shown:\n" + shown;
      for (const PoeStatus& message : {before, mainProcess.last()}) {
        const std::string received = valuesOf(message, missing);
        if (shown == received) {
          return testing::AssertionSuccess();
        }
        difference += "received:\n" + received;
      }
    }
    return testing::AssertionFailure() << difference;
  }

  struct Transfers {
    long all;
    long cycles;
  };

  // Directly after a message, so that no cycle is in progress.
  Transfers transfersAfterMessage() const {
    mainProcess.await(1);
    Transfers transfers{0, 0};
    std::ifstream lines(record);
    for (std::string line; std::getline(lines, line);) {
      transfers.all++;
      transfers.cycles += line.rfind("R 0x96 ", 0) == 0 ? 1 : 0; // which only a cycle reads
    }
    return transfers;
  }

  const TemporaryDirectory folder;
  const std::string socket = folder.file("card.socket");
  const std::string record = folder.file("record");
  ReadingMainProcess mainProcess;
};

TEST_F(BesideMainProcess, EachOutputComesFromTheConsoleAndSaysSo) {
  startConfigured();
  const std::string origin = " from the console, 49 transfers a snapshot, taken within [0-9]+ ms\n";
  const std::string text = poectl("status").output;
  const std::string note = "^poectl: reads a snapshot with 49 transfers on the chip's bus\n";
  EXPECT_TRUE(containsPattern(text, note + "snapshot 1" + origin)) << text;
  EXPECT_TRUE(
      containsPattern(text, "\n   0  on     DELIVERINGPOWER      2     6       15     1  54\\.0   111 "))
      << text;
  const std::string blocks = poectl("watch --every 0.2 --count 2").output;
  EXPECT_TRUE(containsPattern(blocks, "Z snapshot 2" + origin)) << blocks;
  EXPECT_NE(poectl("status --prometheus").output.find("{source=\"console\"} 49\n"), std::string::npos);
  const std::vector<std::string> lines = linesOf(poectl("watch --every 0.2 --count 3 --json").output);
  ASSERT_EQ(lines.size(), 3U);
  for (std::size_t line = 0; line < lines.size(); line++) {
    const std::string head =
        "^\\{\"version\":1,\"time\":\"[^\"]*\",\"message\":" + std::to_string(line + 1) +
        ",\"source\":\"console\",\"transfers\":49,\"span_ms\":[0-9]+,\"period_ms\":200,\"mainPower\":100,";
    EXPECT_TRUE(containsPattern(lines[line], head)) << lines[line];
    EXPECT_NE(lines[line].find("\"enabled\":true,\"limit_w\":15,\"priority\":1,\"voltage_dv\":540,"
                               "\"current_ma\":111,\"powered\":true,\"faults\":\"\"}"),
              std::string::npos)
        << lines[line];
  }
  const std::string noBus = poectl("status --no-bus").output;
  EXPECT_TRUE(containsPattern(noBus, "^snapshot 1 from the console, no transfers, taken within [0-9]+ ms\n"));
  EXPECT_NE(noBus.find("\nmissing without transfers: chip, bank limit, consumption, admin, state, W,\n"
                       "limit W, prio, V, mA, invalid, denied, overload, underload, short, classerr;\n"
                       "ask without --no-bus (49 transfers)\n"),
            std::string::npos)
      << noBus;
}

TEST_F(BesideMainProcess, ASnapshotMakesTheTransfersThatItSays) {
  startConfigured();
  const std::pair<const char*, long> commands[] = {
      {"status", 49},
      {"status --from console --json", 49},
      {"status --prometheus", 49},
      {"watch --every 0.2 --count 3 --json", 3 * 49},
      {"status --no-bus", 0},
      {"explain --status " SCENARIOS "/all_off.toml", 9},
      {"status --no-bus --json", 0},
      {"watch --no-bus --every 0.2 --count 3 --events", 0},
  };
  for (const auto& [command, transfers] : commands) {
    const Transfers before = transfersAfterMessage();
    EXPECT_EQ(poectl(command).status, 0) << command;
    const Transfers after = transfersAfterMessage();
    EXPECT_EQ(after.all - before.all - 64 * (after.cycles - before.cycles), transfers) << command;
  }
}

TEST_F(BesideMainProcess, TheProgramMissesNoMessage) {
  startConfigured();
  const long messages = static_cast<long>(mainProcess.count());
  const long cycles = transfersAfterMessage().cycles;
  EXPECT_EQ(poectl("watch --every 0.1 --count 30 --json").status, 0);
  EXPECT_EQ(poectl("status --from queue").output,
            "poectl: queue /queueToMain exists: process " + std::to_string(getpid()) +
                " (poe_process_tes) serves it, and there can be only one\n");
  const long more = transfersAfterMessage().cycles - cycles;
  EXPECT_GE(more, 3);
  EXPECT_EQ(static_cast<long>(mainProcess.count()) - messages, more + 1);
  EXPECT_EQ(service->output().find("msgsnd failure"), std::string::npos);
}

TEST_F(BesideMainProcess, WatchShowsEventsAndASilentConsole) {
  startConfigured();
  StartedCommand watch({POECTL, "watch", "--events", "--every", "0.3"});
  ASSERT_TRUE(waitUntil(
      [&] { return watch.output() == "poectl: from the console: 49 transfers a snapshot, each 0.3 s\n"; }));
  mainProcess.await(1); // the first snapshot has the port's power
  card("unplug 0");
  const std::string time = "[0-9T:.-]+Z ";
  EXPECT_TRUE(waitUntil([&] {
    return containsPattern(watch.output(), time + "port 0 DELIVERINGPOWER -> SEARCHING\n") &&
           containsPattern(watch.output(), time + "port 0 underLoadCounter \\+1, now 1\n");
  })) << watch.output();
  service->interrupt();
  EXPECT_TRUE(waitUntil([&] {
    return containsPattern(watch.output(), time + "STALE: no snapshot for [23]\\.[0-9] s\n");
  })) << watch.output();
  const std::string refused =
      "poectl: cannot reach the console on 127.0.0.1 port 10001: Connection refused; is the "
      "service running?\n";
  const std::string all = watch.output();
  EXPECT_NE(all.find(refused), std::string::npos) << all;
  EXPECT_EQ(all.find(refused, all.find(refused) + 1), std::string::npos)
      << "the same failure is reported once";
  watch.send(SIGTERM);
  EXPECT_EQ(WEXITSTATUS(watch.wait()), 0);
  EXPECT_TRUE(queueExists("/queueToMain")) << "it is the main process's";
}

TEST_F(BesideMainProcess, RefusesWhatOnlyTheQueueCanDo) {
  const std::string beside =
      "--example is for snapshots from the queue: nothing is sent to the service beside a main "
      "process, whose next configuration would undo it";
  const std::pair<const char*, std::string> rows[] = {
      {"watch --example", beside},
      {"watch --example --from console", beside},
      {"watch --from queue --every 2", "--every is for snapshots from the console; --from queue excludes it"},
      {"status --from queue --no-bus",
       "--no-bus is for snapshots from the console; --from queue excludes it"},
      {"status --from main", "--from: there is no source 'main'; queue and console are accepted"},
  };
  for (const auto& [command, error] : rows) {
    EXPECT_EQ(poectl(command), refusedWith(error)) << command;
  }
  const CommandResult nobody = poectl("status");
  EXPECT_EQ(nobody.status, 1);
  EXPECT_EQ(nobody.output,
            "poectl: reads a snapshot with 49 transfers on the chip's bus\n"
            "poectl: cannot reach the console on 127.0.0.1 port 10001: Connection refused; is the "
            "service running?\n");
}

// Each scenario's configurations, PDs, faults and writes; what is expected in it is left to the scenario.
class ScenarioBesideMainProcess : public BesideMainProcess,
                                  public ::testing::WithParamInterface<std::string> {
protected:
  // Carries out a step. Returns whether it can change the card.
  bool carryOut(const Step& step) {
    if (const auto* const apply = std::get_if<ApplyStep>(&step.action)) {
      sendConfig(apply->config);
    } else if (const auto* const change = std::get_if<CardStep>(&step.action)) {
      card(change->words);
      if (change->words.rfind("bus ", 0) == 0) {
        bus = change->words.substr(4);
      }
    } else if (const auto* const console = std::get_if<ConsoleStep>(&step.action)) {
      EXPECT_EQ(poectl("console " + console->words).status, 0) << step.text;
    } else {
      return false;
    }
    return true;
  }

  // Compares when the card has changed since the last time.
  void expectSame(const std::string& place) {
    if (isChanged && isComparable()) {
      mainProcess.await(1);
      ASSERT_TRUE(snapshotEqualsMessage(bus == "ok")) << "before " << place;
      comparisons++;
      isChanged = false;
    }
  }

  // A snapshot of a bus where every Nth transfer fails meets other failures than the cycle before or after
  // it.
  bool isComparable() const { return bus.rfind("every ", 0) != 0; }

  std::string bus = "ok";
  bool isChanged = true;
  int comparisons = 0;
};

TEST_P(ScenarioBesideMainProcess, SnapshotsEqualTheMessages) {
  const std::string path = std::string(SCENARIOS "/") + GetParam() + ".play";
  std::vector<std::string> options;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    if (const std::string mark = "# poe_card: "; line.rfind(mark, 0) == 0) {
      std::istringstream words(line.substr(mark.size()));
      for (std::string word; words >> std::quoted(word, '\'');) {
        options.push_back(word);
      }
      bus = "as the options say";
    }
  }
  start(options);
  for (const Step& step : readScenario(path)) {
    if (carryOut(step)) {
      isChanged = true;
    } else {
      ASSERT_NO_FATAL_FAILURE(expectSame(step.text));
    }
  }
  expectSame("the end");
  EXPECT_GE(comparisons, 1);
}

std::vector<std::string> scenarioNames() {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(SCENARIOS)) {
    if (entry.path().extension() == ".play") {
      names.push_back(entry.path().stem());
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}

INSTANTIATE_TEST_SUITE_P(Each, ScenarioBesideMainProcess, ::testing::ValuesIn(scenarioNames()),
                         [](const auto& row) { return row.param; });

} // namespace
