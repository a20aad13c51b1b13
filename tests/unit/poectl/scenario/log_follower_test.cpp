// A log that grows while it is looked at.
#include "poectl/config/input_file.h"
#include "poectl/scenario/log_follower.h"
#include "tests/support/error_text.h"
#include "tests/support/process/temporary_directory.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

std::string refusalOf(const std::string& path) {
  return errorText<InputError>([&] { const LogFollower log(path); });
}

class LogFollowerTest : public ::testing::Test {
protected:
  LogFollowerTest() { append(""); }

  void append(const std::string& text) const { std::ofstream(m_path, std::ios::app) << text; }

  const TemporaryDirectory m_folder;
  const std::string m_path = m_folder.file("service.log");
};

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

TEST_F(LogFollowerTest, GoesOnAfterAMark) {
  append("one\ntwo\nthr");
  LogFollower log(m_path);
  append("ee\nfo");
  log.mark();
  EXPECT_FALSE(log.has("three")) << "it was complete when the mark was set";
  append("ur\n");
  EXPECT_TRUE(log.find("four"));
}

TEST_F(LogFollowerTest, WaitsForTheEndOfALine) {
  append("rest");
  LogFollower log(m_path);
  EXPECT_FALSE(log.has("rest"));
  append("art\n");
  EXPECT_TRUE(log.find("restart"));
}

TEST_F(LogFollowerTest, ShowsTheLastLinesAfterTheOneThatWasFound) {
  append("one\ntwo\n3\n4\n5\n6\n7\n");
  LogFollower log(m_path);
  EXPECT_EQ(log.lastLines(), "3\n4\n5\n6\n7\n");
  EXPECT_TRUE(log.find("6"));
  EXPECT_EQ(log.lastLines(), "7\n");
}

TEST_F(LogFollowerTest, DoesNotWaitForAFifo) {
  const std::string fifo = m_folder.file("fifo");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  EXPECT_EQ(refusalOf(fifo), fifo + ": is no regular file, which a log is");
  EXPECT_EQ(refusalOf("/dev/zero"), "/dev/zero: is no regular file, which a log is");
}

TEST_F(LogFollowerTest, RefusesToKeepMoreThan16MiB) {
  ASSERT_EQ(truncate(m_path.c_str(), 16L * 1024 * 1024 + 1), 0);
  EXPECT_EQ(refusalOf(m_path),
            m_path + ": has grown by more than 16777216 bytes after the last expected line or mark, "
                     "which is the most accepted");
  ASSERT_EQ(truncate(m_path.c_str(), 16L * 1024 * 1024), 0);
  EXPECT_EQ(refusalOf(m_path), "accepted");
}

TEST_F(LogFollowerTest, KeepsNothingOfWhatWasFound) {
  const std::string lines = std::string(1024 * 1024 - 2, 'x') + "\n.\n";
  LogFollower log(m_path);
  for (int step = 0; step < 40; step++) {
    append(lines);
    EXPECT_TRUE(log.find("."));
  }
}

TEST_F(LogFollowerTest, ShowsLinesWithoutControlCharacters) {
  append("\033[2Jgone\n");
  EXPECT_EQ(LogFollower(m_path).lastLines(), "\\x1B[2Jgone\n");
}

} // namespace
