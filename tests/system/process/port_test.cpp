// "poectl port", "diff" and "save" beside the real service on the simulated card.
#include "tests/support/process/process_fixture.h"
#include "tests/support/process/started_command.h"
#include "tests/support/process/temporary_directory.h"
#include "tests/support/process/wait_until.h"
#include "tests/system/process/command.h"
#include "tests/system/process/pattern.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>

namespace {

const std::string FILE_TEXT = "# of the line card in rack 7\r\n"
                              "banks = { bank0 = 100 }\r\n"
                              "port.3 = { enable = false, priority = 3, limit = 0 } # spare\r\n"
                              "[port.0]\n"
                              "name = \"camera\"\n"
                              "enable = true\t# do not switch off\n"
                              "priority=1\n"
                              "limit = 15_000\n"
                              "[port.1]\nenable = true\npriority = 2\nlimit = 30000\n"
                              "[port.2]\nenable = true\npriority = 3\nlimit = 15000";

class PoectlPort : public ServiceTest {
protected:
  PoectlPort() { setenv("XDG_RUNTIME_DIR", folder.path().c_str(), 1); }
  ~PoectlPort() override { unsetenv("XDG_RUNTIME_DIR"); }

  // Nobody else is the main process, unless a test makes one.
  void start() {
    startService({{"--control", control, "--record", record, "--plug", "0 class=2 watts=6", "--plug",
                   "1 class=4 watts=22"},
                  {}});
    status.reset(); // the queue of the main process
    EXPECT_EQ(poectl("apply " + file).output, "");
    EXPECT_TRUE(waitUntil([&] { return phase(0) == "delivering" && phase(1) == "delivering"; }))
        << card("show");
  }

  CommandResult port(const std::string& words) const { return poectl("port " + words + " --file " + file); }
  std::string card(const std::string& words) const {
    return poectl("card --control " + control + " " + words).output;
  }
  std::string phase(unsigned port) const {
    const std::string shown = card("show");
    const std::size_t line = shown.find("port " + std::to_string(port) + ":");
    const std::size_t start = std::min(shown.find("phase=", line), shown.size() - 6) + 6;
    return shown.substr(start, shown.find(' ', start) - start);
  }
  // Reads that the worker makes all the time are none of ours.
  std::string writes() const { return run("grep W " + record + " || true").output; }

  const TemporaryDirectory folder;
  const std::string file = folder.write("card.toml", FILE_TEXT);
  const std::string control = folder.file("control");
  const std::string record = folder.file("record");
};

std::string replaced(std::string text, const std::string& old, const std::string& replacement) {
  EXPECT_NE(text.find(old), std::string::npos) << old;
  return text.replace(text.find(old), old.size(), replacement);
}

TEST_F(PoectlPort, ChangesOneValueInTheFileAndTheRegistersFollow) {
  start();
  struct Row {
    const char* words;
    const char* oldText; // of the file
    const char* newText;
    const char* output; // after the name of the file
    const char* readRegister;
    const char* value;
  };
  const Row rows[] = {
      {"1 limit 20", "limit = 30000", "limit = 20000", ":12: port 1\n-limit = 30000\n+limit = 20000\n",
       "0x82", "0x14"},
      {"1 limit 25999mW", "limit = 20000", "limit = 25999", ":12: port 1\n-limit = 20000\n+limit = 25999\n",
       "0x82", "0x19"},
      {"1 limit 15.4", "limit = 25999", "limit = 15400", ":12: port 1\n-limit = 25999\n+limit = 15400\n",
       "0x82", "0xf"},
      {"0 off", "true\t#", "false\t#",
       ":6: port 0 (camera)\n-enable = true\t# do not switch off\n+enable = false\t# do not switch off\n",
       "0x12", "0x3c"},
      {"0 on", "false\t#", "true\t#",
       ":6: port 0 (camera)\n-enable = false\t# do not switch off\n+enable = true\t# do not switch off\n",
       "0x12", "0x3f"},
      {"3 on", "enable = false", "enable = true",
       ":3: port 3\n-port.3 = { enable = false, priority = 3, limit = 0 } # spare\n"
       "+port.3 = { enable = true, priority = 3, limit = 0 } # spare\n",
       "0x12", "0xff"},
      {"0 limit 15", "15_000", "15_000", ":8: port 0 (camera) has this already\n limit = 15_000\n", "0x81",
       "0xf"},
  };
  std::string text = FILE_TEXT;
  for (const Row& row : rows) {
    EXPECT_EQ(port(row.words), printed(file + row.output)) << row.words;
    text = replaced(text, row.oldText, row.newText);
    EXPECT_EQ(folder.read("card.toml"), text) << row.words;
    const std::string shown =
        std::string("PD69104Engine: value read ") + row.readRegister + ":" + row.value + "\n\n";
    const std::string read = std::string("console readReg ") + row.readRegister;
    EXPECT_TRUE(waitUntil([&] { return poectl(read).output == shown; })) << row.words << "\n"
                                                                         << poectl(read).output;
  }
}

TEST_F(PoectlPort, SendsNothingAndLeavesTheFileWhenSomethingIsWrong) {
  const std::string bad = folder.write("bad.toml", replaced(FILE_TEXT, "limit = 30000",
                                                            "limit = 30"
                                                            "001000"));
  const std::string badText = folder.read("bad.toml");
  const mqd_t queue = mq_open("/queueToPoe", O_CREAT | O_RDONLY, 0600, nullptr);
  ASSERT_NE(queue, -1);
  const std::string verbs = "; on, off, cycle, limit W and priority P are accepted";
  const std::string limits =
      " is no limit; 0 to 40 with up to 3 decimals (W; 0 means 40) or 0mW to 40000mW is accepted";
  const std::pair<std::string, std::string> rows[] = {
      {"4 off --file " + file, "'4' is no port; 0 to 3 is accepted"},
      {"x off --file " + file, "'x' is no port; 0 to 3 is accepted"},
      {"0 of --file " + file, "there is no verb 'of'" + verbs},
      {"0 off 1 --file " + file, "off takes no value" + verbs},
      {"0 limit --file " + file, "limit needs a value" + verbs},
      {"0 limit 41 --file " + file, "'41'" + limits},
      {"0 limit 40001mW --file " + file, "'40001mW'" + limits},
      {"0 limit 40.001 --file " + file, "'40.001'" + limits},
      {"0 limit 4294968 --file " + file, "'4294968'" + limits},
      {"0 limit 15. --file " + file, "'15.'" + limits},
      {"0 limit .4 --file " + file, "'.4'" + limits},
      {"0 limit 15.4000 --file " + file, "'15.4000'" + limits},
      {"0 limit 15.-4 --file " + file, "'15.-4'" + limits},
      {"0 limit 15.4mW --file " + file, "'15.4mW'" + limits},
      {"0 priority 4 --file " + file, "'4' is no priority; 1 to 3 is accepted"},
      {"0 off", "no configuration file is named; --file FILE or the environment variable POECTL_FILE is "
                "accepted"},
      {"0 off --file -", "./-: cannot be read: No such file or directory"},
      {"0 off --file " + folder.path().string(), folder.path().string() + ": a regular file is accepted"},
      {"0 off --file " + bad,
       bad + ":12:9: 'limit' is out of range: 30001000; a whole number from 0 to 40000 (mW; 0 "
             "means 40000) is accepted"},
      {"3 cycle --file " + file, "port 3 is off in " + file + "; a port that is on is accepted"},
  };
  for (const auto& [words, error] : rows) {
    EXPECT_EQ(poectl("port " + words), refusedWith(error)) << words;
  }
  mq_attr attributes{};
  EXPECT_EQ(mq_getattr(queue, &attributes), 0);
  EXPECT_EQ(attributes.mq_curmsgs, 0);
  mq_close(queue);
  mq_unlink("/queueToPoe");
  EXPECT_EQ(folder.read("card.toml"), FILE_TEXT);
  EXPECT_EQ(folder.read("bad.toml"), badText);
}

TEST_F(PoectlPort, LeavesTheFileWhenTheServiceCannotBeReached) {
  EXPECT_EQ(port("0 off").output,
            "poectl: cannot open /queueToPoe: No such file or directory; is the service running?\n");
  mq_close(mq_open("/queueToPoe", O_CREAT | O_RDONLY, 0600, nullptr));
  const CommandResult result = port("0 off");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.output,
            "poectl: queue /queueToPoe exists, but nobody serves it: its process was killed; 'poectl "
            "clean' removes it\n");
  mq_unlink("/queueToPoe");
  EXPECT_EQ(port("0 cycle").status, 1);
  EXPECT_EQ(folder.read("card.toml"), FILE_TEXT);
  EXPECT_EQ(run("ls " + folder.path().string()).output, "card.toml\npoectl_cycle_0\n")
      << "nothing is left beside it";
}

TEST_F(PoectlPort, CyclesAPortOnceIn10Seconds) {
  start();
  const std::string before = writes();
  const CommandResult result = poectl("port 0 cycle --file " + file);
  EXPECT_EQ(result.status, 0);
  EXPECT_TRUE(matchesPattern(result.output, "port 0 \\(camera\\): off for at least 2 s\n"
                                            "port 0 \\(camera\\): on again after [2-9]\\.[0-9] s\n"))
      << result.output;
  const std::string lastWrite = "W 0x14 0x77\n"; // its detection: on
  EXPECT_TRUE(waitUntil([&] { return writes().find(lastWrite, before.size()) != std::string::npos; }));
  const std::string all = writes();
  EXPECT_EQ(all.substr(0, before.size() + 24), before + "W 0x12 0x3C\nW 0x14 0x66\n")
      << "first its mode: off";
  EXPECT_TRUE(waitUntil([&] { return phase(0) == "delivering"; }));
  const CommandResult again = port("0 cycle");
  EXPECT_EQ(again.status, 1);
  EXPECT_TRUE(matchesPattern(again.output,
                             "poectl: port 0 was cycled [2-9]\\.[0-9] s ago; once in 10 s is accepted: "
                             "wait [0-9]\\.[0-9] s\n"))
      << again.output;
  EXPECT_EQ(writes(), all) << "the refused one sends nothing";
  EXPECT_EQ(folder.read("card.toml"), FILE_TEXT);
}

TEST_F(PoectlPort, SwitchesAPortOnAgainWhenTheCycleIsInterrupted) {
  start();
  StartedCommand cycle({POECTL, "port", "1", "cycle", "--file", file});
  EXPECT_TRUE(waitUntil([&] { return phase(1) == "off"; }));
  cycle.send(SIGINT);
  const int ending = cycle.wait();
  EXPECT_TRUE(WIFEXITED(ending));
  EXPECT_EQ(WEXITSTATUS(ending), 1);
  EXPECT_EQ(cycle.output(), "port 1: off for at least 2 s\n"
                            "poectl: port 1 is on again, but was not seen to be off for 2 s: interrupted\n");
  EXPECT_TRUE(waitUntil([&] { return phase(1) == "delivering"; }));
}

TEST_F(PoectlPort, SaysThatTheMainProcessUndoesTheChange) {
  start();
  const MainProcessQueue other;
  const std::string note =
      "poectl: process " + std::to_string(getpid()) +
      " (poe_process_tes) is the main process: its next configuration undoes this one; it may "
      "come within about 1 s: change the setting there\n";
  EXPECT_EQ(poectl("apply " + file).output, note);
  EXPECT_EQ(port("2 priority 2").output, note + file + ":15: port 2\n-priority = 3\n+priority = 2\n");
  EXPECT_TRUE(waitUntil([&] { return phase(1) == "delivering"; }));
}

TEST_F(PoectlPort, SaysNothingOfCommandsThatOnlyShowTheStatus) {
  start();
  std::vector<std::vector<std::string>> commands = {
      {"watch", "--from", "queue"}, {"publish", "--directory", folder.path(), "--from", "queue"}};
  const std::filesystem::path build = std::filesystem::path(POECTL).parent_path().parent_path();
  if (std::filesystem::exists(build / "libexec/poe-tools/poectl-page")) {
    commands.push_back({"serve", "--port", "0", "--from", "queue"});
  }
  for (std::vector<std::string>& words : commands) {
    words.insert(words.begin(), POECTL);
    StartedCommand command(words);
    ASSERT_TRUE(waitUntil([] { return queueExists("/queueToMain"); })) << words[1];
    EXPECT_EQ(poectl("apply " + file).output, "") << words[1];
    command.send(SIGTERM);
    command.wait();
  }
}

TEST_F(PoectlPort, DiffAndSaveShowWhatTheServiceHas) {
  start();
  const std::string head = "poectl: reads the service's settings with 49 transfers on the chip's bus; limits "
                           "are compared in whole W\n";
  const CommandResult same = poectl("diff " + file);
  EXPECT_EQ(same.status, 0);
  EXPECT_EQ(same.output, head + "same\n");
  const std::string other = folder.write("other.toml", replaced(FILE_TEXT, "15_000", "14_999"));
  EXPECT_EQ(poectl("diff " + other),
            (CommandResult{1, head + "port 0 (camera), limit: 14 W in the file, 15 W in the service\n"}));
  const std::string saved = folder.file("saved.toml");
  EXPECT_EQ(run("POECTL_FILE=" + file + " " POECTL " save >" + saved).output,
            "poectl: reads the service's settings with 49 transfers on the chip's bus\n");
  EXPECT_EQ(poectl("diff " + saved).output, head + "same\n");
  EXPECT_NE(poectl("check " + saved).output.find("port 0 (camera): on, priority 1, 15 W\n"),
            std::string::npos);
}

TEST_F(PoectlPort, NamesOfTheFileAreInEveryOutputOfTheStatus) {
  start();
  const std::string byVariable = "POECTL_FILE=" + file + " " POECTL " ";
  EXPECT_NE(run(byVariable + "status").output.find("\n   0  camera  "), std::string::npos);
  EXPECT_NE(poectl("status --json --file " + file).output.find("\"name\": \"camera\""), std::string::npos);
  EXPECT_NE(poectl("status --json --no-bus --file " + file).output.find("\"name\": \"camera\""),
            std::string::npos);
  EXPECT_NE(poectl("watch --count 1 --file " + file).output.find("\n   0  camera  "), std::string::npos);
  StartedCommand events({POECTL, "watch", "--events", "--file", file});
  EXPECT_TRUE(waitUntil([] { return queueExists("/queueToMain"); }));
  const int transfers = std::stoi(run("wc -l <" + record).output);
  constexpr int TWO_CYCLES = 130; // after them, a message has come
  EXPECT_TRUE(waitUntil([&] { return std::stoi(run("wc -l <" + record).output) > transfers + TWO_CYCLES; }));
  card("unplug 0");
  EXPECT_TRUE(waitUntil([&] {
    return events.output().find(" port 0 (camera) DELIVERINGPOWER -> SEARCHING\n") != std::string::npos;
  })) << events.output();
  events.send(SIGINT);
  events.wait();
  const CommandResult refused = poectl("watch --count 1 --file " + folder.file("nothing"));
  EXPECT_EQ(refused.status, 2);
  const std::string reason = ": cannot be read: No such file or directory\n";
  EXPECT_EQ(refused.output, "poectl: " + folder.file("nothing") + reason);
  EXPECT_EQ(run("POECTL_FILE=" + folder.file("nothing") + " " POECTL " status").output,
            "poectl: POECTL_FILE names " + folder.file("nothing") + reason);
}

TEST_F(PoectlPort, DiffWithoutAServiceIsTroubleAndNoDifference) {
  EXPECT_EQ(poectl("diff " + file).status, 2);
  EXPECT_EQ(poectl("diff " + folder.file("nothing")).status, 2);
  EXPECT_EQ(poectl("save").status, 1);
}

} // namespace
