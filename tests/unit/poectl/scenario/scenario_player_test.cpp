// Every step of a scenario beside a service that sends a status message once a second of stepped time.
// Message k, the first is 1, comes at k s; it has mainPower k, and port 0 has counted k overloads.
#include "poectl/console/console_client.h"
#include "poectl/scenario/scenario_player.h"
#include "tests/support/process/temporary_directory.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

namespace {

using Milliseconds = std::chrono::milliseconds;

struct Stage {
  Milliseconds now{500};
  Milliseconds cardTakes{0};
  unsigned sent = 0;          // messages
  unsigned messages = 1000;   // then the service is silent
  unsigned signalAfter = -1U; // messages
  unsigned hotFrom = -1U;     // the first message with thermalShutdown
  std::string log;            // grows by the line "late" before message 3
  std::string done;           // what reached service, card and console
};

Stage* stage;

// What service, card and console get: "WHAT at SECONDS".
void note(const std::string& what) {
  stage->done += what + " at " + std::to_string(stage->now.count()) + "\n";
}

} // namespace

// The time and the other ends of the player.
std::chrono::steady_clock::time_point std::chrono::steady_clock::now() noexcept {
  return time_point(stage == nullptr ? Milliseconds{0} : stage->now);
}

StatusQueue::StatusQueue() : m_queue(-1) {}
StatusQueue::~StatusQueue() {
  static_cast<void>(m_queue); // there is none to close
}
StatusReceiver::StatusReceiver(Warn warn) : m_warn(std::move(warn)), m_signals({}) {}

StatusReceiver::Event StatusReceiver::next(Milliseconds limit, PoeStatus& status) {
  if (stage->sent >= stage->signalAfter) {
    return Event::INTERRUPTED;
  }
  const Milliseconds due{1000 * (stage->sent + 1)};
  if (stage->sent == stage->messages || due > stage->now + limit) {
    stage->now += limit;
    return Event::TIME_UP;
  }
  stage->now = std::max(stage->now, due);
  if (++stage->sent == 3) {
    std::ofstream(stage->log, std::ios::app) << "late\n";
  }
  status = {};
  status.mainPower = stage->sent;
  status.port[0].overLoadCounter = stage->sent;
  status.thermalShutdown = stage->sent >= stage->hotFrom;
  return Event::MESSAGE;
}

void sendConfig(const PoeConfig& config, const SendWait& wait) {
  if (config.bankPowerLimit[0] == 13) {
    throw QueueError("no queue");
  }
  note("apply " + std::to_string(config.bankPowerLimit[0]) + " W within " +
       std::to_string(wait.limit.count()));
}

std::string consoleLine(const std::string& words) {
  return "line of " + words;
}

std::string askConsole(const std::string& command, const ConsoleWait& wait) {
  note(command + " within " + std::to_string(wait.limit.count()));
  return "a reply\n\nof two\n";
}

CardClient::CardClient(const std::string& path, int /*stop*/) : m_path(path) {}

std::string CardClient::ask(const std::string& words) {
  if (words == "nonsense") {
    throw CardRefusal("card: what?");
  }
  if (words == "killed") {
    stage->signalAfter = 0;
    throw CardError("card: interrupted");
  }
  if (words == "temperature") {
    return "40 C\n";
  }
  stage->now += stage->cardTakes;
  note("card " + words);
  return "";
}

// The register shows the messages sent so far.
unsigned CardClient::readRegister(unsigned address) {
  return address == 0x10 ? stage->sent : 0xFF;
}

namespace {

class Player : public ::testing::Test {
protected:
  Player() { stage = &m_stage; }
  ~Player() override { stage = nullptr; }

  // The whole output.
  std::string tapOf(const std::string& steps) {
    const Scenario scenario = parseScenario(steps, "f.play", [](const std::string& file) {
      PoeConfig config{};
      config.bankPowerLimit[0] = static_cast<std::uint32_t>(std::stoul(file));
      return config;
    });
    std::ostringstream out;
    Tap tap(out, scenario.size());
    StatusReceiver receiver([](const std::string&) {});
    std::optional<CardClient> card;
    card.emplace("card");
    m_stage.log = m_folder.write("log", "one\ntwo\nthree\n");
    std::optional<LogFollower> log(m_stage.log);
    try {
      ScenarioPlayer(receiver, card, log, tap).play(scenario);
    } catch (const PlayStopped& stopped) {
      tap.bailOut(stopped.what());
    }
    std::string text = out.str();
    EXPECT_EQ(tap.allOk(),
              text.find("not ok") == std::string::npos && text.find("Bail") == std::string::npos);
    return text;
  }

  // The verdicts, each failure with its first comment, and what the play has taken.
  std::string verdicts(const std::string& text) {
    std::istringstream lines(tapOf(text));
    std::string verdict;
    bool failed = false;
    for (std::string line; std::getline(lines, line);) {
      const bool ok = line.rfind("ok ", 0) == 0;
      const bool comment = line.rfind("# ", 0) == 0;
      verdict += ok                  ? "ok; "
                 : failed && comment ? "not ok: " + line.substr(2) + "; "
                 : line[0] == 'B'    ? line + "; "
                                     : "";
      failed = line.rfind("not ok ", 0) == 0;
    }
    return verdict + std::to_string(m_stage.sent) + " messages, " + std::to_string(m_stage.now.count()) +
           " ms";
  }

  Stage m_stage;
  const TemporaryDirectory m_folder;
};

struct Row {
  const char* name;
  const char* steps;
  const char* verdicts;
  Stage stage = {};
};

class PlayerStep : public Player, public ::testing::WithParamInterface<Row> {};

TEST_P(PlayerStep, TakesTheMessagesThatItSaysAndJudgesEach) {
  m_stage = GetParam().stage;
  EXPECT_EQ(verdicts(GetParam().steps), GetParam().verdicts);
}

Stage hotFrom(unsigned message) {
  Stage hot;
  hot.hotFrom = message;
  return hot;
}

Stage slowCard(unsigned milliseconds) {
  Stage slow;
  slow.cardTakes = Milliseconds{milliseconds};
  return slow;
}

Stage endsAfter(unsigned messages, bool bySignal) {
  Stage end;
  (bySignal ? end.signalAfter : end.messages) = messages;
  return end;
}

const char* const HOT = "not ok: chip thermalShutdown is 1; expected is 0; ";
const std::string HOT_2 = std::string(HOT) + "2 messages, 2000 ms";
const std::string HOT_3 = std::string(HOT) + "3 messages, 3000 ms";
const std::string HOT_4 = std::string(HOT) + "4 messages, 4000 ms";
const std::string HOT_AT_ONCE = "ok; " + HOT_2;
const std::string SILENCE =
    "Bail out! no status message came on /queueToMain for 10 s: is the service running?; ";
const std::string SILENT_AFTER_2 = "ok; " + SILENCE + "2 messages, 12000 ms";
const std::string SILENT = SILENCE + "0 messages, 10500 ms";

const Row ROWS[] = {
    {"NeverJudgesAMessageBeforeTheStep", "expect chip mainPower 1 within 3 messages",
     "not ok: chip mainPower is 4; expected is 1; 4 messages, 4000 ms"},
    {"HoldsAtTheLastMessage", "expect chip mainPower 4 within 3 messages", "ok; 4 messages, 4000 ms"},
    {"EndsAtTheFirstMessageThatHolds", "expect chip mainPower 2 within 3 messages",
     "ok; 2 messages, 2000 ms"},
    {"TakesNoMessageMore", "expect chip mainPower 5 within 3 messages",
     "not ok: chip mainPower is 4; expected is 5; 4 messages, 4000 ms"},
    {"JudgesTheMessageOfTheStepBefore", "after 1 message\nexpect chip mainPower 2 within 1 message",
     "ok; ok; 2 messages, 2000 ms"},
    {"WaitsForFiveMessagesByItself", "expect chip mainPower 6", "ok; 6 messages, 6000 ms"},
    {"WaitsForNoMoreByItself", "expect chip mainPower 7",
     "not ok: chip mainPower is 6; expected is 7; 6 messages, 6000 ms"},
    {"HoldsWithinSeconds", "expect chip mainPower 3 within 2.5", "ok; 3 messages, 3000 ms"},
    {"TakesNoSecondMore", "expect chip mainPower 4 within 2.5",
     "not ok: chip mainPower is 3; expected is 4; 3 messages, 3500 ms"},
    {"TakesNoMessageWithinShortTime", "expect chip mainPower 2 within 0.5",
     "not ok: no status message came; 1 messages, 1500 ms"},
    {"StaysForEachMessage", "expect chip thermalShutdown stays 0 for 3 messages", "ok; 4 messages, 4000 ms",
     hotFrom(5)},
    {"JudgesTheFirstMessageOfStays", "expect chip thermalShutdown stays 0 for 3 messages", HOT_2.c_str(),
     hotFrom(2)},
    {"JudgesEachMessageOfStays", "expect chip thermalShutdown stays 0 for 3 messages", HOT_3.c_str(),
     hotFrom(3)},
    {"JudgesTheLastMessageOfStays", "expect chip thermalShutdown stays 0 for 3 messages", HOT_4.c_str(),
     hotFrom(4)},
    {"JudgesStaysAtOnce", "after 1 message\nexpect chip thermalShutdown stays 0 for 3 messages",
     HOT_AT_ONCE.c_str(), hotFrom(2)},
    {"Waits", "wait 2.5", "ok; 3 messages, 3500 ms"},
    {"WaitsForTheShortestTime", "wait 0.1", "ok; 1 messages, 1100 ms"},
    {"WaitsForTheLongestTime", "wait 3600", "ok; 1000 messages, 3601000 ms"},
    {"ReceivesMessages", "after 3 messages", "ok; 4 messages, 4000 ms"},
    {"CountsFromTheLastMessageBeforeTheStep", "card a\nexpect port 0 overLoadCounter +2 within 2 messages",
     "ok; ok; 3 messages, 3000 ms"},
    {"CountsNothingMore", "card a\nexpect port 1 overLoadCounter stays +0 for 1 message",
     "ok; ok; 2 messages, 2000 ms"},
    {"CountsAgainFromTheNextStep",
     "card a\nafter 2 messages\ncard b\nexpect port 0 overLoadCounter +3 within 2 messages",
     "ok; ok; ok; not ok: port 0 overLoadCounter is 5, +2 since the last apply, card or console step; "
     "expected "
     "is +3; 5 messages, 5000 ms"},
    {"PassesOverMessagesFromBeforeTheStep", "card a\ncard b\nexpect chip mainPower 4 within 1 message",
     "ok; ok; ok; 4 messages, 6400 ms", slowCard(2700)},
    {"ComparesCountersWithALine",
     "after 1 message\nexpect ports 1,2,3 counters unchanged since line 1 for 2 messages",
     "ok; ok; 4 messages, 4000 ms"},
    {"ComparesCountersWithTheEndOfTheLine",
     "after 2 messages\nexpect port 0 counters unchanged since line 1 for 1 message",
     "ok; not ok: port 0 overLoadCounter is 4, was 3; expected is no change since line 1; 4 messages, 4000 "
     "ms"},
    {"ComparesCountersOnce",
     "after 2 messages\nafter 1 message\nexpect port 0 counters unchanged since line 2",
     "ok; ok; ok; 4 messages, 4000 ms"},
    {"ReceivesAMessageMoreBeforeItComparesCounters",
     "card a\nexpect ports 1,2,3 counters unchanged since line 1 for 2 messages",
     "ok; ok; 4 messages, 4000 ms"},
    {"ReceivesBeforeItComparesCounters",
     "card a\nexpect ports 0 counters unchanged since line 1 for 2 messages",
     "ok; not ok: port 0 overLoadCounter is 2, was 1; expected is no change since line 1; 2 messages, 2000 "
     "ms"},
    {"LooksAtARegisterAtOnce", "expect register 0x10 0x01", "ok; 1 messages, 1000 ms"},
    {"LooksAtTheLastRegister", "expect register 0xCE 0xfF", "ok; 1 messages, 1000 ms"},
    {"LooksAtARegisterByDecimalNumbers", "after 9 messages\nexpect register 16 010",
     "ok; ok; 10 messages, 10000 ms"},
    {"LooksAtARegisterAfterEachMessage", "expect register 0x10 0x03 within 2 messages",
     "ok; 3 messages, 3000 ms"},
    {"SeesARegisterChange", "expect register 0x10 stays 0x01 for 2 messages",
     "not ok: register 0x10 is 0x02; expected is 0x01; 2 messages, 2000 ms"},
    {"FindsLinesInOrder", "expect log \"one\"\nexpect log \"three\"\nexpect log \"two\" within 1 message",
     "ok; ok; not ok: no line of the log has this text; 2 messages, 2000 ms"},
    {"FindsNoLineBeforeTheMark",
     "mark log\nexpect no log \"two\" for 2 messages\nexpect log \"two\" within 1 message",
     "ok; ok; not ok: no line of the log has this text; 4 messages, 4000 ms"},
    {"FindsALineThatMustBeAbsent", "expect no log \"two\" for 2 messages",
     "not ok: a line of the log has this text; 1 messages, 1000 ms"},
    {"FindsALineThatComesLater", "expect log \"late\" within 2 messages", "ok; 3 messages, 3000 ms"},
    {"FindsALineLaterThatMustBeAbsent", "expect no log \"late\" for 2 messages",
     "not ok: a line of the log has this text; 3 messages, 3000 ms"},
    {"LooksOnceForALineThatMustBeAbsent", "expect no log \"late\"", "ok; 1 messages, 1000 ms"},
    {"LooksForATextInAReply", "console info shows \"a reply\"\nconsole info shows \"another\"",
     "ok; not ok: the reply does not have this text:; 1 messages, 1000 ms"},
    {"EndsWithARefusal", "wait 1\ncard nonsense\nwait 1",
     "ok; not ok: card: what?; Bail out! what follows line 2 needs that step; 2 messages, 2000 ms"},
    {"EndsWithoutAQueue", "apply 13",
     "not ok: no queue; Bail out! what follows line 1 needs that step; 1 messages, 1000 ms"},
    {"EndsWhenTheServiceIsSilent", "after 3 messages", SILENT.c_str(), endsAfter(0, false)},
    {"EndsWhenTheServiceGoesSilent", "after 1 message\nafter 1 message", SILENT_AFTER_2.c_str(),
     endsAfter(2, false)},
    {"EndsBySignal", "after 9 messages", "Bail out! interrupted by a signal; 3 messages, 3000 ms",
     endsAfter(3, true)},
    {"EndsBySignalInAStep", "card killed", "Bail out! interrupted by a signal; 1 messages, 1000 ms"},
    {"EndsBySignalInAWait", "wait 9", "Bail out! interrupted by a signal; 3 messages, 3000 ms",
     endsAfter(3, true)},
};

INSTANTIATE_TEST_SUITE_P(Rows, PlayerStep, ::testing::ValuesIn(ROWS),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(Player, DoesWhatTheStepsSayAndPrintsTheReplies) {
  EXPECT_EQ(tapOf("# head\n\napply \"50 W.toml\"  # later\n\tconsole  info\nwait 1\napply 60\napply again\n"
                  "card plug  0 watts=6\nconsole shows shows \"a  # b\"\nconsole a\\b \"shows\" \"b\""),
            "TAP version 13\n1..8\n"
            "ok 1 - line 3: apply \"50 W.toml\"\n"
            "ok 2 - line 4: console info\n# a reply\n#\n# of two\n"
            "ok 3 - line 5: wait 1\n"
            "ok 4 - line 6: apply 60\n"
            "ok 5 - line 7: apply again\n"
            "ok 6 - line 8: card plug 0 watts=6\n"
            "not ok 7 - line 9: console shows shows \"a  \\# b\"\n"
            "# the reply does not have this text:\n# a reply\n#\n# of two\n"
            "ok 8 - line 10: console a\\\\b \"shows\" \"b\"\n# a reply\n#\n# of two\n");
  EXPECT_EQ(m_stage.done, "apply 50 W within 1000 at 1000\nline of info within 10000 at 1000\n"
                          "apply 60 W within 1000 at 2000\napply 60 W within 1000 at 2000\n"
                          "card plug 0 watts=6 at 2000\nline of shows within 10000 at 2000\n"
                          "line of a\\b shows b within 10000 at 2000\n");
}

TEST_F(Player, PrintsTheReplyOfTheCardAfterTheResult) {
  EXPECT_EQ(tapOf("card temperature"), "TAP version 13\n1..1\nok 1 - line 1: card temperature\n# 40 C\n");
}

TEST_F(Player, ShowsTheLastMessageAndTheLogAfterAFailure) {
  const std::string tap = tapOf("expect log \"two\"\nexpect log \"no\" within 1 message\n"
                                "apply 50\nexpect chip mainPower 0 within 1 message");
  const std::string start = "TAP version 13\n1..4\nok 1 - line 1: expect log \"two\"\n"
                            "not ok 2 - line 2: expect log \"no\" within 1 message\n"
                            "# no line of the log has this text\n# message 2 from the queue: ";
  EXPECT_EQ(tap.substr(0, start.size()), start);
  EXPECT_NE(tap.find("\n#    0  -      ? "), std::string::npos) << "the settings are not known: " << tap;
  EXPECT_NE(tap.find("\n#    0  off    ? "), std::string::npos) << "those that were applied: " << tap;
  EXPECT_NE(tap.find("\n# the last lines of the log after the last expected one:\n# three\nok 3 "),
            std::string::npos)
      << tap;
}

} // namespace
