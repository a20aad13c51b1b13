// What one client of the debug console sees.
#include "platform/debug_server.h"

#include <string>

#include <gtest/gtest.h>

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

} // namespace

TEST_F(DebugServerTest, AnswersEachLineWithItsReplyAndAPrompt) {
  const ConsoleConnection client(m_port.number());
  client.send("Echo one\r\n\n \t\nhelp\nNobody\nquit\n");
  EXPECT_EQ(client.receiveToEnd(), "> [one]\n> > > Echo\n> No such object: Nobody\nEcho\n> ");
}

TEST_F(DebugServerTest, ClosesAtTheEndOfInputAfterTheLastReply) {
  const ConsoleConnection client(m_port.number());
  client.send("Echo one\nEcho two\n");
  client.finish();
  EXPECT_EQ(client.receiveToEnd(), "> [one]\n> [two]\n> ");
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

TEST_F(DebugServerTest, RefusesALineOf1025BytesOnceAndGoesOn) {
  const ConsoleConnection client(m_port.number());
  client.receive(2);
  EXPECT_EQ(client.ask("Echo " + std::string(1020, 'x')), "Line too long (at most 1024 bytes)\n");
  EXPECT_EQ(client.ask("Echo " + std::string(100000, 'x')), "Line too long (at most 1024 bytes)\n");
  EXPECT_EQ(client.ask("Echo one"), "[one]\n");
}

TEST_F(DebugServerTest, ListensOnNoOtherAddress) {
  // All of 127/8 reaches this machine, but only 127.0.0.1 is listened on.
  EXPECT_FALSE(ConsoleConnection::reaches("127.0.0.2", m_port.number()));
  EXPECT_TRUE(ConsoleConnection::reaches("127.0.0.1", m_port.number()));
}
