// A log that grows while it is looked at.
#include "poectl/config/input_file.h"
#include "poectl/scenario/log_follower.h"
#include "tests/support/process/temporary_directory.h"

#include <fstream>
#include <gtest/gtest.h>

namespace {

class LogFollowerTest : public ::testing::Test {
protected:
  LogFollowerTest() { append(""); }

  void append(const std::string& text) const { std::ofstream(m_path, std::ios::app) << text; }

  const TemporaryDirectory m_folder;
  const std::string m_path = m_folder.file("service.log");
};

TEST_F(LogFollowerTest, FindsLinesInTheirOrder) {
  append("one\ntwo\nthree\n");
  LogFollower log(m_path);
  EXPECT_TRUE(log.find("wo"));
  EXPECT_FALSE(log.find("one")) << "it is in front of the last line that was found";
  EXPECT_TRUE(log.find("three"));
}

TEST_F(LogFollowerTest, FindsALineOnlyOnce) {
  append("restart\n");
  LogFollower log(m_path);
  EXPECT_TRUE(log.find("restart"));
  EXPECT_FALSE(log.find("restart"));
  append("restart\n");
  EXPECT_TRUE(log.find("restart"));
}

TEST_F(LogFollowerTest, DoesNotMoveWhenItOnlyAsks) {
  append("one\ntwo\n");
  LogFollower log(m_path);
  EXPECT_TRUE(log.has("two"));
  EXPECT_TRUE(log.has("one"));
  EXPECT_TRUE(log.find("one"));
  EXPECT_FALSE(log.has("one"));
}

TEST_F(LogFollowerTest, WaitsForTheEndOfALine) {
  append("rest");
  LogFollower log(m_path);
  EXPECT_FALSE(log.has("rest"));
  append("art\n");
  EXPECT_TRUE(log.find("restart"));
}

TEST_F(LogFollowerTest, ShowsTheLastLinesBehindTheOneThatWasFound) {
  append("one\ntwo\n3\n4\n5\n6\n7\n");
  LogFollower log(m_path);
  EXPECT_EQ(log.lastLines(), "3\n4\n5\n6\n7\n");
  EXPECT_TRUE(log.find("6"));
  EXPECT_EQ(log.lastLines(), "7\n");
}

TEST_F(LogFollowerTest, RefusesALogThatIsNotThere) {
  try {
    LogFollower log("/nowhere/service.log");
    FAIL() << "accepted";
  } catch (const InputError& error) {
    EXPECT_STREQ(error.what(), "/nowhere/service.log: cannot be read: No such file or directory");
  }
}

} // namespace
