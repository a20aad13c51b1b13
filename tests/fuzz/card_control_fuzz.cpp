// What a client of poe_card's control socket sends, cut into pieces of any size. Each line must get the reply
// of a second card that is given the lines one by one, followed by an empty line.
#include "simulator/card/simulated_card.h"
#include "simulator/program/control_client.h"
#include "tests/fuzz/client_end.h"
#include "tests/fuzz/expectations.h"
#include "tests/fuzz/fuzz_target.h"

#include <algorithm>
#include <memory>
#include <unistd.h>

namespace {

using Time = SimulatedCard::Time;

const char* const WORDS[] = {
    "plug",   "unplug",      "draw", "short", "fault", "class-error",    "temperature", "thermal", "supply",
    "bank",   "power-cycle", "bus",  "reg",   "dump",  "load /dev/null", "show",        "help",    "class=",
    "watts=", "signature=",  "fet",  "on",    "every", "register",       "0x",          "1"};

void expectReply(const std::string& reply) {
  ASSERT_FALSE(reply.empty());
  EXPECT_EQ(reply.back(), '\n');
  EXPECT_NE(reply.front(), '\n') << "the empty line is the end of the reply";
  EXPECT_EQ(reply.find("\n\n"), std::string::npos) << "an empty line in the reply";
  // An error is one line, which tells what is accepted.
  if (reply.rfind("error: ", 0) == 0) {
    expectOneLine(reply.substr(0, reply.size() - 1));
    EXPECT_NE(reply.find("; accepted "), std::string::npos) << reply;
    EXPECT_LT(reply.size(), 600U);
  }
}

// The card, its client's end and what the client must get.
class Conversation {
public:
  Conversation() {
    m_server = std::make_unique<ControlClient>(
        dup(m_client.takeServersEnd().get()),
        [this](const std::string& line) { return m_card.answer(line) + "\n"; });
    m_server->onOver([this] { m_server.reset(); });
  }

  // The transfers of the service, by which the card's time passes. What was sent before is answered.
  void transfer(std::uint8_t address, std::uint8_t value) {
    receive();
    m_card.write(address, value);
    m_second.write(address, value);
  }

  void send(const std::string& piece) {
    expect(piece);
    m_client.send(piece);
  }

  // Until the card has answered all.
  void receive() { m_client.receiveAll(); }

  void finish() { EXPECT_EQ(m_client.finish(), m_expected); }

private:
  static void serve() {
    while (g_main_context_iteration(nullptr, FALSE) == TRUE) {
    }
  }

  void expect(const std::string& bytes) {
    m_unanswered += bytes;
    for (std::size_t end = 0; !m_isOver && !m_unanswered.empty(); m_unanswered.erase(0, end + 1)) {
      end = m_unanswered.find('\n');
      if (std::min(end, m_unanswered.size()) > 4096) {
        m_expected += "error: the line is too long; accepted are 4096 characters\n\n";
        m_isOver = true;
      }
      if (end == std::string::npos || m_isOver) {
        return;
      }
      const std::string reply = m_second.answer(m_unanswered.substr(0, end));
      expectReply(reply);
      m_expected += reply + "\n";
    }
  }

  SimulatedCard m_card{Time::Stepped};
  SimulatedCard m_second{Time::Stepped};
  ClientEnd m_client{serve};
  std::unique_ptr<ControlClient> m_server;
  std::string m_unanswered;
  std::string m_expected;
  bool m_isOver = false; // a line was too long
};

std::string takePiece(FuzzedDataProvider& data) {
  switch (data.ConsumeIntegralInRange(0, 5)) {
  case 0:
    return data.ConsumeRandomLengthString(40);
  case 1:
    return "\n";
  case 2: // about as long as a line may be
    return std::string(data.ConsumeIntegralInRange<std::size_t>(4090, 4100), 'x');
  case 3:
    return " " + std::to_string(data.ConsumeIntegralInRange(-2, 260));
  default:
    return std::string(" ") + data.PickValueInArray(WORDS);
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzedDataProvider data(bytes, size);
  Conversation conversation;
  while (data.remaining_bytes() > 0) {
    switch (data.ConsumeIntegralInRange(0, 7)) {
    case 0:
      conversation.receive();
      break;
    case 1: {
      const auto address = data.ConsumeIntegral<std::uint8_t>();
      conversation.transfer(address, data.ConsumeIntegral<std::uint8_t>());
      break;
    }
    default:
      conversation.send(takePiece(data));
      break;
    }
  }
  conversation.finish();
  return 0;
}
