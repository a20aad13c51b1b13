#include "platform/host/console/console_session.h"

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

TEST(ConsoleSession, TakesAndSaysNothingAfterQuit) {
  for (const std::string& bytes : {std::string("quit\n"), std::string("quit\nhelp\n")}) {
    Zorvan::ConsoleSession session;
    session.sent(session.outputSize());
    std::copy(bytes.begin(), bytes.end(), session.input().space());
    session.input().added(bytes.size());
    std::vector<char> buffer(64);
    EXPECT_TRUE(session.step(buffer));
    EXPECT_TRUE(session.isOver());
    EXPECT_FALSE(session.wantsInput());
    EXPECT_FALSE(session.canStep());
    EXPECT_FALSE(session.step(buffer));
    EXPECT_FALSE(session.hasOutput());
  }
}
