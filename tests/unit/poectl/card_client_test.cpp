// The control socket of the simulated card, with a card whose replies are laid down here, and what poectl
// learns from its state.
#include "poectl/card/card_client.h"
#include "poectl/card/card_state.h"

#include "tests/support/process/hostile_peer.h"
#include "tests/support/process/listeners.h"

#include <gtest/gtest.h>
#include <optional>
#include <unistd.h>

namespace {

// Answers each line with the next of these replies, and closes after the last one.
class ScriptedCard {
public:
  explicit ScriptedCard(const std::vector<std::string>& replies) {
    m_peer.emplace(listenOnPath(path), [this, replies](const HostilePeer& peer, int connection) {
      for (const std::string& reply : replies) {
        m_received += peer.hear(connection);
        for (const char piece : reply) { // as a slow card would
          peer.say(connection, std::string(1, piece));
        }
      }
    });
  }
  ScriptedCard(const ScriptedCard&) = delete;
  ScriptedCard& operator=(const ScriptedCard&) = delete;
  ~ScriptedCard() { unlink(path.c_str()); }

  // What the client has sent, when it has gone.
  std::string received() {
    m_peer.reset();
    return m_received;
  }

  const std::string path = "/tmp/card_client_test-" + std::to_string(getpid()) + ".socket";

private:
  std::string m_received;
  std::optional<HostilePeer> m_peer; // the last: its thread uses what is above
};

template <typename Action>
std::string errorOf(Action action) {
  try {
    action();
  } catch (const CardRefusal& error) {
    return std::string("refused: ") + error.what();
  } catch (const CardError& error) {
    return error.what();
  }
  return "no error";
}

TEST(CardClientAsk, SendsALineAndReturnsTheLinesOfTheReply) {
  ScriptedCard card({"port 0: device=none\nbus=ok\n\n", "ok\n\n"});
  {
    CardClient client(card.path);
    EXPECT_EQ(client.ask("show"), "port 0: device=none\nbus=ok\n");
    EXPECT_EQ(client.ask("plug 0 class=4"), "") << "a command that is done has nothing to tell";
  }
  EXPECT_EQ(card.received(), "show\nplug 0 class=4\n");
}

TEST(CardClientAsk, PassesTheCardsOwnLineOnForARefusal) {
  ScriptedCard card({"error: 'pull' is not understood; accepted are plug and help\n\n"});
  CardClient client(card.path);
  EXPECT_EQ(errorOf([&] { client.ask("pull 0"); }),
            "refused: card: 'pull' is not understood; accepted are plug and help");
}

TEST(CardClientAsk, TakesAReplyWithoutALine) {
  ScriptedCard card({"\n"});
  EXPECT_EQ(CardClient(card.path).ask("help"), "");
}

TEST(CardClientAsk, RefusesALineEndBeforeAnythingIsSent) {
  ScriptedCard card({});
  CardClient client(card.path);
  EXPECT_EQ(errorOf([&] { client.ask("show\npower-cycle"); }),
            "refused: a command of the card is one line: it cannot contain a line end");
  EXPECT_EQ(card.received(), "");
}

TEST(CardClientAsk, ReportsACardThatCloses) {
  ScriptedCard card({"port 0: "});
  CardClient client(card.path);
  EXPECT_EQ(errorOf([&] { client.ask("show"); }),
            "the simulated card on " + card.path + " has closed the connection");
}

TEST(CardClientReadRegister, ReadsTheValueAfterTheAddress) {
  ScriptedCard card({"0x90 0x0A\n\n", "0x91 0x00\n\n", "a register\n\n"});
  {
    CardClient client(card.path);
    EXPECT_EQ(client.readRegister(0x90), 0x0AU);
    const std::string error = "the simulated card on " + card.path + " does not tell register ";
    EXPECT_EQ(errorOf([&] { client.readRegister(0x90); }), error + "144") << "another register";
    EXPECT_EQ(errorOf([&] { client.readRegister(0x12); }), error + "18");
  }
  EXPECT_EQ(card.received(), "reg 144\nreg 144\nreg 18\n");
}

TEST(CardClientConnect, SaysWhatIsMissing) {
  EXPECT_EQ(errorOf([] { CardClient("/nowhere/card.socket"); }),
            "cannot reach the simulated card on /nowhere/card.socket: No such file or directory; is poe_card "
            "running with --control?");
  const std::string path = "/" + std::string(107, 'a');
  EXPECT_EQ(errorOf([&] { CardClient client(path); }),
            "the control socket " + path + " has too long a name: at most 107 characters are accepted");
}

TEST(CardClientConnect, RefusesASocketOfAnotherUser) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "only root can listen as somebody else";
  }
  const std::string path = "/tmp/card_client_test-" + std::to_string(getpid()) + ".foreign";
  ASSERT_EQ(seteuid(4711), 0);
  const HostilePeer card(listenOnPath(path), HostilePeer::silent);
  ASSERT_EQ(seteuid(0), 0);
  EXPECT_EQ(errorOf([&] { CardClient client(path); }),
            "the control socket " + path +
                " is user 4711's; accepted is a card of your own (user 0) or root's");
  unlink(path.c_str());
}

struct ReplyRow {
  const char* name;
  HostilePeer::Conduct conduct;
  const char* error; // after the path
};

class CardClientHostileCard : public ::testing::TestWithParam<ReplyRow> {};

TEST_P(CardClientHostileCard, IsRefusedInTime) {
  const std::string path = "/tmp/card_client_test-" + std::to_string(getpid()) + ".hostile";
  const HostilePeer card(listenOnPath(path), GetParam().conduct);
  CardClient client(path);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(errorOf([&] { client.ask("show"); }), "the simulated card on " + path + GetParam().error);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
  unlink(path.c_str());
}

const ReplyRow REPLIES[] = {
    {"Floods", HostilePeer::flood, " replies with more than 65536 bytes, which is the most accepted"},
    {"IsSilent", HostilePeer::silent, " does not reply"},
};

INSTANTIATE_TEST_SUITE_P(Cards, CardClientHostileCard, ::testing::ValuesIn(REPLIES),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(ParseCardState, ReadsPortsThermalShutdownAndBus) {
  const CardState state = parseCardState(
      "port 0: device=good class=4 watts=22.5 phase=delivering fault=none class-error=pending\n"
      "port 3: device=none class=0 watts=0 phase=off fault=fet class-error=none\n"
      "temperature=40\nthermal=on\nbus=dead\n");
  EXPECT_EQ(state.port[0].device, "device=good class=4 watts=22.5 class-error=pending");
  EXPECT_EQ(state.port[0].watts, 22.5);
  EXPECT_EQ(state.port[1].device, "");
  EXPECT_EQ(state.port[3].device, "device=none class=0 watts=0 fault=fet");
  EXPECT_TRUE(state.thermal);
  EXPECT_FALSE(state.busOk);
}

TEST(ParseCardState, PassesOverWhatItDoesNotKnow) {
  const CardState state =
      parseCardState("port\nport 4: device=good watts=9\nport x\nthermal=off\nbus=ok\n=\n\n");
  for (const CardPort& port : state.port) {
    EXPECT_EQ(port.device, "");
  }
  EXPECT_FALSE(state.thermal);
  EXPECT_TRUE(state.busOk);
}

TEST(CardClientAsk, MakesControlCharactersVisible) {
  ScriptedCard card({"port 0: \033[2Jnone\n\n", "error: \033]0;title\a\n\n"});
  CardClient client(card.path);
  EXPECT_EQ(client.ask("show"), "port 0: \\x1B[2Jnone\n");
  EXPECT_EQ(errorOf([&] { client.ask("show"); }), "refused: card: \\x1B]0;title\\x07");
}

} // namespace
