// What several clients of the debug console see, and what a bad one can do.
#include "platform/debug_server.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/socket.h>

#include "gate.h"
#include "stepped_clock.h"
#include "system_calls.h"
#include "tests/support/doubles/talker.h"
#include "tests/support/process/console_connection.h"

namespace {

// More than the buffers of a connection take when both are small.
constexpr std::uint32_t HUGE_REPLY = 1024 * 1024;

const std::string CLOSED = "Closed for a new client: at most 16 are served, this one was idle longest\n";

std::string repeated(const std::string& command, int times) {
  std::string commands;
  for (int i = 0; i < times; ++i) {
    commands += command;
  }
  return commands;
}

using Connections = std::vector<std::unique_ptr<ConsoleConnection>>;

class DebugServerClients : public testing::Test {
protected:
  explicit DebugServerClients(std::uint32_t bufferSize = 64) : m_server(m_port.number(), bufferSize) {}

  void SetUp() override { ASSERT_TRUE(m_server.start()); }

  // A client that has had its prompt.
  std::unique_ptr<ConsoleConnection> connected() const {
    auto client = std::make_unique<ConsoleConnection>(m_port.number());
    EXPECT_EQ(client->receiveReply(), "");
    return client;
  }

  // So many of them.
  Connections connected(std::size_t count) const {
    Connections clients(count);
    std::generate(clients.begin(), clients.end(), [this] { return connected(); });
    return clients;
  }

  // Returns when the server has gone through all that was there to be done before.
  void letARoundGoBy(const ConsoleConnection& client) const {
    EXPECT_EQ(client.ask("Echo"), "\n");
    EXPECT_EQ(client.ask("Echo"), "\n");
  }

  // Does the process come to have this many descriptors? `client` keeps the server going.
  bool descriptorsBecome(std::size_t expected, const ConsoleConnection& client) const {
    for (int i = 0; i < 10000 && openDescriptors() != expected; ++i) {
      letARoundGoBy(client);
    }
    return openDescriptors() == expected;
  }

  const Echo m_echo{"Echo"};
  const ReservedPort m_port;
  Zorvan::CdebugServer m_server;
};

class DebugServerWithHugeReplies : public DebugServerClients {
protected:
  DebugServerWithHugeReplies() : DebugServerClients(HUGE_REPLY) {}

  // A client that has sent `commands` and reads nothing.
  std::unique_ptr<ConsoleConnection> stalled(const std::string& commands) const {
    auto client = std::make_unique<ConsoleConnection>(m_port.number(), AF_INET, 4096);
    EXPECT_EQ(client->receiveReply(), "");
    client->send(commands);
    return client;
  }

  const SmallSendBuffers m_small;
  std::atomic<int> m_calls{0};
  const Talker m_huge{"Huge", [this](const auto&) {
                        ++m_calls;
                        return std::string(HUGE_REPLY, 'x');
                      }};
};

} // namespace

TEST_F(DebugServerClients, ServesManyAtOnceAndRunsOneCommandAtATime) {
  std::atomic<int> inside{0};
  std::atomic<int> calls{0};
  const Talker talker("Talker", [&](const auto& words) {
    EXPECT_EQ(++inside, 1);
    ++calls;
    std::this_thread::yield();
    --inside;
    return words[0];
  });
  const auto clients = connected(16);
  std::vector<std::thread> threads;
  threads.reserve(clients.size());
  for (const auto& client : clients) {
    threads.emplace_back([&client] {
      for (int i = 0; i < 50; ++i) {
        EXPECT_EQ(client->ask("Talker " + std::to_string(i)), std::to_string(i));
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(calls, 800);
}

TEST_F(DebugServerClients, TakesOneCommandOfEachClientInTurn) {
  Gate entered;
  Gate leave;
  std::string order;
  const Talker talker("Talker", [&](const auto& words) {
    order += words[0];
    entered.open();
    leave.wait();
    return "";
  });
  const auto eager = connected();
  const auto modest = connected();
  eager->send(repeated("Talker a\n", 20));
  ASSERT_TRUE(entered.wait());
  modest->send("Talker b\nTalker b\n");
  leave.open();
  eager->send("quit\n");
  eager->receiveToEnd();
  // The first two may have been taken before the other client's commands were seen.
  EXPECT_TRUE(order == "abab" + std::string(18, 'a') || order == "aabab" + std::string(17, 'a')) << order;
}

TEST_F(DebugServerClients, CommandsLeaveAPauseInWhichAThreadThatWaitsForTheirMutexCanRun) {
  using Clock = std::chrono::steady_clock;
  Clock::time_point left = Clock::now() - std::chrono::hours(1);
  Clock::duration shortest = std::chrono::hours(1);
  const Talker talker("Talker", [&](const auto&) {
    shortest = std::min(shortest, Clock::now() - left);
    left = Clock::now();
    return "";
  });
  const auto one = connected();
  const auto other = connected();
  one->send(repeated("Talker\n", 20));
  other->send(repeated("Talker\n", 20) + "quit\n");
  other->receiveToEnd();
  EXPECT_GE(shortest, std::chrono::microseconds(100));
}

TEST_F(DebugServerClients, ServesTheSeventeenthAndClosesTheOneThatWasIdleLongest) {
  const SteppedClock clock(100000);
  Connections clients;
  for (int i = 0; i < 16; ++i) {
    clients.push_back(connected());
    SteppedClock::advance(1);
  }
  EXPECT_EQ(clients[0]->ask("Echo one"), "[one]\n");
  clients[1]->send("Ec");
  letARoundGoBy(*clients[15]);
  SteppedClock::advance(1);
  EXPECT_EQ(connected()->ask("Echo one"), "[one]\n");
  EXPECT_EQ(clients[2]->receiveToEnd(), CLOSED);
  clients[1]->send("ho two\n");
  EXPECT_EQ(clients[1]->receiveReply(), "[two]\n");
  for (const int kept : {0, 3, 15}) {
    EXPECT_EQ(clients[static_cast<std::size_t>(kept)]->ask("Echo one"), "[one]\n") << kept;
  }
}

TEST_F(DebugServerClients, TakesANewOneWhenAnotherHasQuit) {
  const auto clients = connected(16);
  clients[3]->send("quit\n");
  EXPECT_EQ(clients[3]->receiveToEnd(), "");
  EXPECT_EQ(connected()->ask("Echo one"), "[one]\n");
}

TEST_F(DebugServerClients, TakesANewOneWhenAnotherHasVanished) {
  const auto witness = connected();
  const std::size_t before = openDescriptors();
  const auto clients = connected(15);
  clients[3]->close(true);
  clients[4]->close();
  EXPECT_TRUE(descriptorsBecome(before + 26, *witness)) << openDescriptors() - before;
  EXPECT_EQ(connected()->ask("Echo one"), "[one]\n");
}

TEST_F(DebugServerClients, ClosedOnesThatStayDoNotPileUp) {
  Gate entered;
  Gate leave;
  const Talker talker("Talker", [&](const auto&) {
    entered.open();
    leave.wait();
    return "";
  });
  const std::size_t before = openDescriptors();
  const auto busy = connected();
  busy->send("Talker\n");
  ASSERT_TRUE(entered.wait());
  Connections clients(100); // in two queues, which the server finds full
  for (std::size_t i = 0; i < clients.size(); ++i) {
    clients[i] = std::make_unique<ConsoleConnection>(m_port.number(), i % 2 == 0 ? AF_INET : AF_INET6);
  }
  leave.open();
  for (auto& client : clients) {
    EXPECT_EQ(client->receive(2).size(), 2U);
  }
  const auto witness = connected();
  letARoundGoBy(*witness);
  // Of the server's side: 16 that are served and no more than 16 that it waits for to close.
  EXPECT_LE(openDescriptors(), before + 102 + 16 + 16);
  EXPECT_GE(openDescriptors(), before + 102 + 16);
}

TEST_F(DebugServerClients, OneThatDoesNotCloseAfterQuitIsClosedAfterTwoSeconds) {
  const SteppedClock clock(100000);
  const auto witness = connected();
  const std::size_t before = openDescriptors();
  const auto lingering = connected();
  lingering->send("quit\n");
  EXPECT_EQ(lingering->receiveToEnd(), "");
  SteppedClock::advance(1999);
  letARoundGoBy(*witness);
  EXPECT_EQ(openDescriptors(), before + 2);
  SteppedClock::advance(1);
  letARoundGoBy(*witness);
  EXPECT_EQ(openDescriptors(), before + 1);
}

TEST_F(DebugServerClients, OneThatHasGoneWhileItsCommandsRunHarmsNothing) {
  Gate entered;
  Gate leave;
  std::atomic<int> calls{0};
  const Talker talker("Talker", [&](const auto&) {
    ++calls;
    entered.open();
    leave.wait();
    return "reply";
  });
  auto client = connected();
  // The first reply makes the client's system answer with a reset; to send the others would raise SIGPIPE.
  client->send("Talker\nTalker\nTalker\nTalker\n");
  ASSERT_TRUE(entered.wait());
  client->close();
  leave.open();
  EXPECT_EQ(connected()->ask("Echo one"), "[one]\n");
  EXPECT_GE(calls, 2);
}

TEST_F(DebugServerClients, WantOfDescriptorsDoesNotMakeTheServerSpin) {
  const SteppedClock clock(100000);
  const auto witness = connected();
  std::unique_ptr<ConsoleConnection> waiting;
  {
    const FailingAccept noDescriptors(EMFILE);
    waiting = std::make_unique<ConsoleConnection>(m_port.number());
    for (int i = 0; i < 50; ++i) {
      letARoundGoBy(*witness);
    }
    EXPECT_EQ(FailingAccept::calls(), 1);
    SteppedClock::advance(999);
    letARoundGoBy(*witness);
    EXPECT_EQ(FailingAccept::calls(), 1);
    SteppedClock::advance(1);
    letARoundGoBy(*witness); // begun before the clock was advanced
    letARoundGoBy(*witness);
    EXPECT_EQ(FailingAccept::calls(), 2);
  }
  SteppedClock::advance(1000);
  letARoundGoBy(*witness);
  letARoundGoBy(*witness);
  EXPECT_EQ(waiting->receive(2), "> ");
}

TEST_F(DebugServerClients, AConnectionThatIsGoneBeforeItIsAcceptedDelaysNoOther) {
  const SteppedClock clock(100000);
  const auto witness = connected();
  for (const int gone : {EAGAIN, EINTR, ECONNABORTED}) {
    std::unique_ptr<ConsoleConnection> next;
    {
      const FailingAccept failing(gone);
      next = std::make_unique<ConsoleConnection>(m_port.number());
      for (int i = 0; i < 10 && FailingAccept::calls() < 2; ++i) {
        letARoundGoBy(*witness);
      }
    }
    letARoundGoBy(*witness);
    EXPECT_EQ(next->receive(2), "> ") << "errno " << gone;
  }
}

TEST_F(DebugServerWithHugeReplies, OneThatDoesNotReadHasItsNextCommandWaitWhileOthersAreServed) {
  const auto client = stalled("Huge\nHuge\n");
  const auto other = connected();
  for (int i = 0; i < 20; ++i) {
    letARoundGoBy(*other);
  }
  EXPECT_EQ(m_calls, 1);
  client->finish();
  const std::string reply = std::string(HUGE_REPLY, 'x') + "> ";
  EXPECT_TRUE(client->receiveToEnd() == reply + reply);
  EXPECT_EQ(m_calls, 2);
}

TEST_F(DebugServerWithHugeReplies, OneInTheMiddleOfAReplyKeepsItsPlaceWhenAnotherIsIdle) {
  const SteppedClock clock(100000);
  const auto busy = stalled("Huge\n");
  Connections clients;
  for (int i = 0; i < 15; ++i) {
    SteppedClock::advance(1);
    clients.push_back(connected());
  }
  EXPECT_EQ(connected()->ask("Echo one"), "[one]\n");
  EXPECT_EQ(clients[0]->receiveToEnd(), CLOSED);
  busy->finish();
  EXPECT_TRUE(busy->receiveToEnd() == std::string(HUGE_REPLY, 'x') + "> ");
}

TEST_F(DebugServerWithHugeReplies, WhenAllAreInTheMiddleOfAReplyTheOneThatWaitsLongestIsClosed) {
  const SteppedClock clock(100000);
  const NoRoomForLongReplies noRoom;
  const auto first = stalled("");
  Connections clients;
  for (int i = 0; i < 15; ++i) {
    clients.push_back(stalled("Huge\n"));
    SteppedClock::advance(1);
  }
  letARoundGoBy(*first);
  first->send("Huge\n");
  EXPECT_EQ(connected()->ask("Echo one"), "[one]\n");
  EXPECT_EQ(clients[0]->receiveToEnd(), CLOSED);
}

TEST_F(DebugServerWithHugeReplies, AReplyIsSentWholeBeforeTheConnectionIsClosedAfterQuit) {
  const auto client = stalled("Huge\nquit\nHuge\n");
  const std::string reply = std::string(HUGE_REPLY, 'x') + "> ";
  EXPECT_TRUE(client->receiveToEnd() == reply);
  EXPECT_EQ(m_calls, 1);
}
