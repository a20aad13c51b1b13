// The live view of "poectl watch" on a real terminal, beside the real service.
#include "tests/support/process/hostile_peer.h"
#include "tests/support/process/listeners.h"
#include "tests/support/process/process_fixture.h"
#include "tests/support/process/reading_main_process.h"
#include "tests/support/process/temporary_directory.h"
#include "tests/support/process/wait_until.h"
#include "tests/system/process/command.h"
#include "tests/system/process/pattern.h"
#include "tests/system/process/tmux_terminal.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <thread>

namespace {

const std::string UNICODE = "LC_ALL=C.UTF-8 ";

class PoectlLiveView : public ServiceTest {
protected:
  void SetUp() override {
    if (const std::string refusal = TmuxTerminal::refusal(); !refusal.empty()) {
      GTEST_SKIP() << refusal;
    }
  }

  void startCard() {
    service = std::make_unique<ServiceProcess>(
        ServiceOptions{{"--stepped", "--control", socket, "--plug", "0 class=2 watts=6"}, {}});
  }

  // Opens the view and waits until it shows port 0 with power.
  void open(const std::string& environment = UNICODE) {
    terminal.emplace(environment + POECTL + " watch --example --control " + socket);
    EXPECT_TRUE(terminal->shows("0 DELIVERINGPOWER"));
  }

  void expectEnd(const std::string& key) {
    terminal->press(key);
    EXPECT_TRUE(terminal->shows("settings kept"));
    EXPECT_EQ(terminal->row(0), ""); // the line that the test typed
    EXPECT_EQ(terminal->row(1), "status 0");
    EXPECT_FALSE(queueExists("/queueToMain"));
  }

  unsigned long messageNumber() const {
    const std::string row = terminal->row(0);
    EXPECT_TRUE(containsPattern(row, "message [0-9]+, age")) << row;
    return std::strtoul(row.c_str() + row.find("message ") + 8, nullptr, 10);
  }

  const std::string socket = ::testing::TempDir() + "poectl_view_" + std::to_string(getpid());
  std::optional<TmuxTerminal> terminal;
};

TEST_F(PoectlLiveView, OpensOnATerminalAndGivesItBackAtQ) {
  startCard();
  open();
  EXPECT_TRUE(terminal->shows("port 0: good, priority 1; device=good class=2 watts=6"));
  EXPECT_TRUE(terminal->shows(">0 DELIVERINGPOWER  2    6/15  ███████▏··········    0"));
  expectEnd("q");
}

TEST_F(PoectlLiveView, LeavesNoQueueBehindWhenItsTerminalIsClosed) {
  startCard();
  open();
  EXPECT_TRUE(queueExists("/queueToMain"));
  terminal.reset();
  EXPECT_TRUE(waitUntil([] { return !queueExists("/queueToMain"); }));
}

TEST_F(PoectlLiveView, ShowsWithinTwoMessagesWhatUnpluggingByKeyDoes) {
  startCard();
  open();
  EXPECT_TRUE(terminal->shows("u unplug")) << "the card answers";
  const unsigned long before = messageNumber();
  const auto start = std::chrono::steady_clock::now();
  terminal->press("0 u");
  EXPECT_TRUE(terminal->shows("port 0 DELIVERINGPOWER -> SEARCHING"));
  const auto time = std::chrono::steady_clock::now() - start;
  RecordProperty("milliseconds", static_cast<int>(time / std::chrono::milliseconds(1)));
  EXPECT_LE(messageNumber(), before + 2);
  EXPECT_EQ(terminal->row(3).substr(0, 12), ">0 SEARCHING");
  EXPECT_TRUE(terminal->shows("port 0 underLoadCounter +1, now 1"));
  EXPECT_EQ(terminal->row(22), "card: unplug 0");
}

TEST_F(PoectlLiveView, ShowsWhatTheCardSaysToATypedCommand) {
  startCard();
  open();
  EXPECT_TRUE(terminal->shows("p plug"));
  terminal->press(": b o g u x BSpace s Enter");
  EXPECT_TRUE(terminal->shows("card: 'bogus' is not understood; accepted are"));
}

TEST_F(PoectlLiveView, FollowsTheSizeOfTheTerminal) {
  startCard();
  open();
  terminal->resize(120, 40);
  EXPECT_TRUE(terminal->shows("  ███████████████████████▏····"));
  terminal->resize(80, 24);
  EXPECT_TRUE(terminal->shows("  ███████▏··········  "));
  terminal->resize(60, 10);
  EXPECT_TRUE(terminal->shows("80x24 needed, this is 60x10"));
  terminal->resize(1, 1);
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  terminal->resize(80, 24);
  EXPECT_TRUE(terminal->shows("  ███████▏··········  "));
  expectEnd("q");
}

TEST_F(PoectlLiveView, GoesOnThroughARestartOfServiceAndCard) {
  startCard();
  open();
  service->interrupt();
  EXPECT_TRUE(terminal->shows("STALE: no message for"));
  EXPECT_TRUE(terminal->shows("no simulated card"));
  startCard();
  EXPECT_TRUE(terminal->shows("messages are back after"));
  EXPECT_TRUE(terminal->shows("port 0 DISABLED -> DELIVERINGPOWER")) << "the example has been sent again";
  EXPECT_TRUE(terminal->shows("p plug"));
  expectEnd("q");
}

TEST_F(PoectlLiveView, WaitsForAServiceAndForACard) {
  terminal.emplace(UNICODE + POECTL + " watch --example --control " + socket);
  EXPECT_TRUE(terminal->shows("waiting for the service's first status message"));
  terminal->press("p");
  EXPECT_TRUE(terminal->shows("no simulated card answers; this key is for one"));
  startCard();
  EXPECT_TRUE(terminal->shows("0 DELIVERINGPOWER"));
  expectEnd("q");
}

TEST_F(PoectlLiveView, HasNoColoursWithNoColorSet) {
  const std::string colour("\033\\[([0-9;]*;)?[349][0-7]m");
  startCard();
  open("NO_COLOR= " + UNICODE);
  EXPECT_TRUE(containsPattern(terminal->sent(), colour)) << "an empty value asks for nothing";
  expectEnd("q");
  open("NO_COLOR=1 " + UNICODE);
  EXPECT_FALSE(containsPattern(terminal->sent(), colour));
  expectEnd("q");
}

TEST_F(PoectlLiveView, SendsNothingButAsciiToATerminalWithoutUtf8) {
  const auto isAscii = [this] {
    const std::string sent = terminal->sent();
    return std::all_of(sent.begin(), sent.end(), [](char byte) { return (byte & 0x80) == 0; });
  };
  startCard();
  open("LC_ALL=C ");
  EXPECT_TRUE(terminal->shows("#######----------"));
  EXPECT_TRUE(isAscii());
  expectEnd("q");
  open();
  EXPECT_FALSE(isAscii());
  expectEnd("q");
}

TEST_F(PoectlLiveView, IsATableWithItsAgeOnATerminalThatCannotPlaceItsCursor) {
  startCard();
  terminal.emplace("TERM=dumb " POECTL " watch");
  EXPECT_TRUE(terminal->shows("message 1 from the queue: chip running"));
  EXPECT_TRUE(terminal->shows("\nage 0."));
  service->interrupt();
  EXPECT_TRUE(terminal->shows("\nSTALE: no message for "));
  terminal->press("C-c");
  EXPECT_TRUE(terminal->shows("status 0"));
}

// Registers that only the console's report "poeport" reads: the service itself writes them and keeps their
// values.
unsigned long readsOfPortLimits(const std::string& record) {
  std::ifstream lines(record);
  unsigned long reads = 0;
  for (std::string line; std::getline(lines, line);) {
    reads += containsPattern(line, "^R 0x8[1-4] ") ? 1U : 0U;
  }
  return reads;
}

TEST_F(PoectlLiveView, MakesNoTransferOnTheBusUnlessAKeyAsksForIt) {
  const TemporaryDirectory folder;
  const std::string record = folder.file("record");
  service = std::make_unique<ServiceProcess>(ServiceOptions{
      {"--stepped", "--control", socket, "--record", record, "--plug", "0 class=2 watts=6"}, {}});
  open();
  const unsigned long configured = readsOfPortLimits(record);
  const unsigned long message = messageNumber();
  ASSERT_TRUE(waitUntil([&] { return messageNumber() >= message + 6; }));
  EXPECT_EQ(readsOfPortLimits(record), configured);
  terminal->press("r");
  EXPECT_TRUE(terminal->shows("port 0: limit 15 W, priority 1, as the chip has them"));
  EXPECT_EQ(readsOfPortLimits(record), configured + 1);
  expectEnd("q");

  terminal.emplace(UNICODE + POECTL + " watch --no-bus");
  EXPECT_TRUE(terminal->shows("console: no transfers"));
  terminal->press("r");
  EXPECT_TRUE(terminal->shows("r makes 10 transfers, and --no-bus was given"));
  EXPECT_EQ(readsOfPortLimits(record), configured + 1);
  expectEnd("q");
}

TEST_F(PoectlLiveView, ShowsWhatItHasNotSentAsNotKnownUntilItIsRead) {
  startCard();
  terminal.emplace(UNICODE + POECTL + " watch --control " + socket);
  EXPECT_TRUE(terminal->shows("limit not known (r reads it over the bus)"));
  EXPECT_TRUE(terminal->shows("chip running")); // a service that reports has its console
  terminal->press("r");
  EXPECT_TRUE(terminal->shows("port 0: limit 15 W, priority 3, as the chip has them"));
  expectEnd("q");
}

TEST_F(PoectlLiveView, RecordsWhatItShowsAndReplaysIt) {
  const TemporaryDirectory folder;
  const std::string record = folder.file("r");
  startCard();
  terminal.emplace(UNICODE + POECTL + " watch --example --record " + record + " --control " + socket);
  EXPECT_TRUE(terminal->shows("0 DELIVERINGPOWER"));
  EXPECT_TRUE(terminal->shows("u unplug"));
  terminal->press("0 u");
  EXPECT_TRUE(terminal->shows("port 0 DELIVERINGPOWER -> SEARCHING"));
  expectEnd("q");

  terminal.emplace(UNICODE + POECTL + " replay " + record);
  EXPECT_TRUE(terminal->shows("playing, speed 1x"));
  terminal->press("End");
  EXPECT_TRUE(terminal->shows("port 0 DELIVERINGPOWER -> SEARCHING"));
  EXPECT_TRUE(terminal->shows("end of the record, speed 1x, 100 % of the file"));
  terminal->press("Home");
  EXPECT_TRUE(terminal->shows(" record 1, 20"));
  EXPECT_TRUE(terminal->shows(">0 DISABLED"));
  expectEnd("q");
}

TEST_F(PoectlLiveView, TakesEachKeyOfTheTerminalForWhatItIs) {
  const std::string rest(R"(,{"enabled":false,"shortCounter":0})");
  std::string lines; // one event a record
  for (unsigned second = 10; second < 40; second++) {
    const std::string count = std::to_string(second);
    lines += R"({"version":1,"time":"2023-11-14T22:13:)" + count;
    lines += R"(.123Z","source":"console","transfers":1,"span_ms":0,"port":[{"enabled":true,"shortCounter":)";
    lines.append(count).append("}").append(rest).append(rest).append(rest).append("]}\n");
  }
  const TemporaryDirectory folder;
  terminal.emplace(UNICODE + POECTL + " replay " + folder.write("r", lines));
  EXPECT_TRUE(terminal->shows("playing, speed 1x"));
  const std::pair<const char*, const char*> rows[] = {
      {"Space", "paused, speed 1x"},
      {"+", "paused, speed 2x"},
      {"Home", " record 1, "},
      {"Right", " record 11, "}, // ten seconds on
      {".", " record 12, "},
      {"End", " record 30, "},
      {"Left", " record 20, "},
      {"End", "22:13:39 port 0 shortCounter +1, now 39"},
      {"PPage", "events, 5 newer ones below"},
      {"PPage", "events, 10 newer ones below"},
      {"NPage", "events, 5 newer ones below"},
      {"Down", "\n>1 "},
      {"Down", "\n>2 "},
      {"Up", "\n>1 "},
      {"Enter", "events of the port"},
      {"'?'", "pause at the record before, at the next record"},
      {"'?'", "events of the port"},
      {"Escape", "consumption (W) in the last"},
  };
  for (const auto& [key, shown] : rows) {
    terminal->press(key);
    ASSERT_TRUE(terminal->shows(shown)) << key << "\n" << terminal->screen();
  }
  expectEnd("q");
}

TEST_F(PoectlLiveView, ShowsSnapshotsFromTheConsoleBesideAMainProcess) {
  const ReadingMainProcess mainProcess;
  startCard();
  mainProcess.await(1);
  EXPECT_EQ(run(POECTL " example | " POECTL " apply -").status, 0);
  ASSERT_TRUE(waitUntil([&] { return mainProcess.last().port[0].operStatus == 3; }));
  terminal.emplace(UNICODE + POECTL + " watch --control " + socket);
  EXPECT_TRUE(terminal->shows(">0 DELIVERINGPOWER  2    6/15  54.0  111 ███▏····"));
  EXPECT_TRUE(containsPattern(terminal->row(0), "^chip running, 40 C *snapshot 1, age [0-9.]+ s$"));
  EXPECT_TRUE(terminal->shows(" console: 49 transfers a snapshot, each 10 s"));
  terminal->press("e");
  EXPECT_TRUE(terminal->shows("nothing is sent to the service beside a main process"));
  terminal->press("Enter");
  EXPECT_TRUE(
      terminal->shows("configured  on, limit 15 W, priority 1\nmeasured    6 W, 54.0 V, 111 mA; power on"));
  terminal->press("q");
  EXPECT_TRUE(terminal->shows("status 0"));
  EXPECT_TRUE(queueExists("/queueToMain")) << "it is the main process's";
}

TEST_F(PoectlLiveView, EndsWithinASecondWhateverCardAndConsoleDo) {
  for (const auto conduct : {HostilePeer::drip, HostilePeer::silent}) {
    const HostilePeer card(listenOnPath(socket), conduct);
    const HostilePeer console(listenOnPort(10001), conduct);
    for (const char* const key : {"q", "C-c", "'C-\\'"}) {
      const unsigned before = console.connections();
      terminal.emplace(UNICODE + POECTL + " watch --control " + socket);
      EXPECT_TRUE(terminal->shows("waiting for the service's first status message"));
      ASSERT_TRUE(waitUntil([&] { return console.connections() > before; }));
      terminal->press(std::string("r ") + key);
      const auto start = std::chrono::steady_clock::now();
      EXPECT_TRUE(waitUntil([] { return !queueExists("/queueToMain"); }));
      EXPECT_LT(std::chrono::steady_clock::now() - start, AT_ONCE) << key;
      EXPECT_TRUE(terminal->shows("settings kept")) << key;
    }
  }
  unlink(socket.c_str());
}

TEST_F(PoectlLiveView, EndsAtOnceOnATerminalThatIsStopped) {
  startCard();
  open();
  terminal->press("C-s");
  const unsigned long message = messageNumber();
  std::this_thread::sleep_for(std::chrono::milliseconds(2500)); // the view fills what the terminal holds
  EXPECT_LE(messageNumber(), message + 1);
  const auto start = std::chrono::steady_clock::now();
  terminal->signal(SIGTERM);
  EXPECT_TRUE(waitUntil([] { return !queueExists("/queueToMain"); }));
  EXPECT_LT(std::chrono::steady_clock::now() - start, AT_ONCE);
  EXPECT_TRUE(terminal->shows("settings kept"));
}

} // namespace
