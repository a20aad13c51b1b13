// What one client of the debug console sees.
#include "platform/debug_server.h"

#include <string>

#include <gtest/gtest.h>
#include <sys/socket.h>

#include "tests/support/doubles/talker.h"
#include "tests/support/process/console_connection.h"

namespace {

class DebugServerTest : public testing::Test {
protected:
  void SetUp() override { ASSERT_TRUE(m_server.start()); }

  const Echo m_echo{"Echo"};
  const ReservedPort m_port;
  Zorvan::CdebugServer m_server{m_port.number(), 64};
};

class DebugServerOnBothAddresses : public DebugServerTest, public testing::WithParamInterface<int> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(, DebugServerOnBothAddresses, testing::Values(AF_INET, AF_INET6),
                         [](const auto& row) { return std::string(row.param == AF_INET ? "IPv4" : "IPv6"); });

TEST_P(DebugServerOnBothAddresses, ServesAClient) {
  const ConsoleConnection client(m_port.number(), GetParam());
  EXPECT_EQ(client.receive(2), "> ");
  client.send("Echo one two\n");
  EXPECT_EQ(client.receive(13), "[one][two]\n> ");
  client.send("quit\n");
  EXPECT_EQ(client.receiveToEnd(), "");
}

TEST_F(DebugServerTest, AnswersEachLineWithItsReplyAndAPrompt) {
  const ConsoleConnection client(m_port.number());
  client.send("Echo one\r\n\n \t\nhelp\nNobody\nquit\n");
  EXPECT_EQ(client.receiveToEnd(), "> [one]\n> > > Echo\n> No such object: Nobody\nEcho\n> ");
}

TEST_F(DebugServerTest, PutsSplitPacketsTogether) {
  const ConsoleConnection client(m_port.number());
  const ConsoleConnection other(m_port.number());
  other.receiveReply();
  EXPECT_EQ(client.receive(2), "> ");
  for (const char* part : {"Ec", "ho o", "ne\r", "\nEcho two"}) {
    client.send(part);
    EXPECT_EQ(other.ask("Echo"), "\n"); // lets a round go by
  }
  EXPECT_EQ(client.receive(8), "[one]\n> ");
  client.send("\n");
  EXPECT_EQ(client.receive(8), "[two]\n> ");
}

TEST_F(DebugServerTest, ClosesAtTheEndOfInputAfterTheLastReply) {
  const ConsoleConnection client(m_port.number());
  client.send("Echo one\nEcho two\n");
  client.finish();
  EXPECT_EQ(client.receiveToEnd(), "> [one]\n> [two]\n> ");
}

TEST_F(DebugServerTest, BytesAfterTheLastLineEndAreNoCommand) {
  const ConsoleConnection client(m_port.number());
  client.send("Echo one\nEcho two");
  client.finish();
  EXPECT_EQ(client.receiveToEnd(), "> [one]\n> ");
}

TEST_F(DebugServerTest, ClosesWithoutAWordWhenNothingComes) {
  const ConsoleConnection client(m_port.number());
  client.finish();
  EXPECT_EQ(client.receiveToEnd(), "> ");
}

TEST_F(DebugServerTest, WhatComesAfterQuitIsThrownAwayAndSpoilsNothing) {
  const ConsoleConnection client(m_port.number());
  client.receive(2);
  std::string tail;
  for (int i = 0; i < 20000; ++i) {
    tail += "Echo two\n";
  }
  client.send("Echo one\nquit\n" + tail);
  EXPECT_EQ(client.receiveToEnd(), "[one]\n> ");
}

TEST_F(DebugServerTest, TakesALineOf1024Bytes) {
  const ConsoleConnection client(m_port.number());
  client.receive(2);
  EXPECT_EQ(client.ask("Echo " + std::string(1019, 'x')), "[" + std::string(63, 'x'));
  EXPECT_EQ(client.ask("Echo " + std::string(1019, 'x') + "\r"), "[" + std::string(63, 'x'));
}

TEST_F(DebugServerTest, RefusesALineOf1025BytesOnceAndGoesOn) {
  const ConsoleConnection client(m_port.number());
  client.receive(2);
  EXPECT_EQ(client.ask("Echo " + std::string(1020, 'x')), "Line too long (at most 1024 bytes)\n");
  EXPECT_EQ(client.ask("Echo " + std::string(100000, 'x')), "Line too long (at most 1024 bytes)\n");
  EXPECT_EQ(client.ask("Echo one"), "[one]\n");
}

TEST_F(DebugServerTest, BinaryBytesHarmNothing) {
  const ConsoleConnection client(m_port.number());
  client.receive(2);
  std::string all;
  for (int byte = 254; byte >= 0; --byte) { // 255 begins what telnet negotiates
    if (byte != '\n') {
      all += static_cast<char>(byte);
    }
  }
  const std::string name = all.substr(0, all.find(' '));
  EXPECT_EQ(client.ask(all), "No such object: " + name + "\nEcho\n");
  EXPECT_EQ(client.ask("\xFF\xFB\x1F\xFF\xFD\x03" + std::string(2, '\0')),
            "No such object: " + std::string(2, '\0') + "\nEcho\n");
  EXPECT_EQ(client.ask("Echo one"), "[one]\n");
}

TEST_F(DebugServerTest, AReplyThatFillsTheBufferIsSentWhole) {
  const Talker talker("Talker", [](const auto&) { return std::string(1000, 'x'); });
  const ConsoleConnection client(m_port.number());
  client.receive(2);
  EXPECT_EQ(client.ask("Talker"), std::string(64, 'x'));
}

TEST_F(DebugServerTest, NothingOfALongReplyIsLeftInTheNext) {
  const Talker talker("Talker", [](const auto&) { return std::string(1000, 'x'); });
  const ConsoleConnection client(m_port.number());
  client.receive(2);
  client.ask("Talker");
  EXPECT_EQ(client.ask("Echo"), "\n");
}

TEST_F(DebugServerTest, ListensOnNoOtherAddress) {
  // All of 127/8 reaches this machine, but only 127.0.0.1 is listened on.
  EXPECT_FALSE(ConsoleConnection::reaches("127.0.0.2", m_port.number()));
  EXPECT_TRUE(ConsoleConnection::reaches("127.0.0.1", m_port.number()));
}
