#include "platform/host/console/console_session.h"

#include <cstring>

#include <gtest/gtest.h>

#include "tests/support/doubles/talker.h"

namespace {

class ConsoleSessionTest : public testing::Test {
protected:
  // Puts bytes in as they come from a socket.
  void put(const std::string& bytes) {
    ASSERT_LE(bytes.size(), m_session.input().spaceSize());
    std::memcpy(m_session.input().space(), bytes.data(), bytes.size());
    m_session.input().added(bytes.size());
  }

  // Takes all output out.
  std::string output() {
    std::string bytes(m_session.output(), m_session.outputSize());
    m_session.sent(bytes.size());
    return bytes;
  }

  void step() { m_session.step(m_buffer); }

  const Echo m_echo{"Echo"};
  std::vector<char> m_buffer = std::vector<char>(64);
  Zorvan::ConsoleSession m_session;
};

} // namespace

TEST_F(ConsoleSessionTest, OpensWithAPrompt) {
  EXPECT_EQ(output(), "> ");
}

TEST_F(ConsoleSessionTest, AnswersALineWithTheReplyAndAPrompt) {
  output();
  put("Echo one\n");
  step();
  EXPECT_EQ(output(), "[one]\n> ");
}

TEST_F(ConsoleSessionTest, AnswersAnEmptyLineWithAPrompt) {
  output();
  put("\n \t\r\n");
  step();
  EXPECT_EQ(output(), "> ");
  step();
  EXPECT_EQ(output(), "> ");
}

TEST_F(ConsoleSessionTest, AnswersAnOverlongLineWithOneErrorAndAPrompt) {
  output();
  put(std::string(1100, 'x'));
  step();
  put(std::string(1100, 'x') + "\nEcho one\n");
  step();
  EXPECT_EQ(output(), "Line too long (at most 1024 bytes)\n> ");
  step();
  EXPECT_EQ(output(), "[one]\n> ");
}

TEST_F(ConsoleSessionTest, TakesOneCommandAStep) {
  output();
  put("Echo one\nEcho two\n");
  step();
  EXPECT_EQ(output(), "[one]\n> ");
  EXPECT_TRUE(m_session.canStep());
  step();
  EXPECT_EQ(output(), "[two]\n> ");
  EXPECT_FALSE(m_session.canStep());
}

TEST_F(ConsoleSessionTest, TakesNoCommandAndNoInputWhileOutputWaits) {
  put("Echo one\n");
  EXPECT_FALSE(m_session.canStep());
  EXPECT_FALSE(m_session.wantsInput());
  step();
  EXPECT_EQ(output(), "> ");
  EXPECT_TRUE(m_session.canStep());
  step();
  m_session.sent(1);
  EXPECT_FALSE(m_session.canStep());
  EXPECT_EQ(output(), "one]\n> ");
}

TEST_F(ConsoleSessionTest, WantsInputWhenThereIsNoWholeLine) {
  output();
  EXPECT_TRUE(m_session.wantsInput());
  put("Echo");
  EXPECT_TRUE(m_session.wantsInput());
  put("\n");
  EXPECT_FALSE(m_session.wantsInput());
}

TEST_F(ConsoleSessionTest, WantsNoInputBeforeItsOutputIsSent) {
  EXPECT_FALSE(m_session.wantsInput());
  m_session.sent(1);
  EXPECT_FALSE(m_session.wantsInput());
  m_session.sent(1);
  EXPECT_TRUE(m_session.wantsInput());
}

TEST_F(ConsoleSessionTest, IsOverAfterQuitAndTakesNothingMore) {
  output();
  put("quit\nEcho one\n");
  EXPECT_FALSE(m_session.isOver());
  step();
  EXPECT_TRUE(m_session.isOver());
  EXPECT_FALSE(m_session.hasOutput());
  EXPECT_FALSE(m_session.canStep());
  EXPECT_FALSE(m_session.wantsInput());
  step();
  EXPECT_FALSE(m_session.hasOutput());
}
