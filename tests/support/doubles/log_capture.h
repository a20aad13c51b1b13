// The syslog lines of the code under test, captured at link time (-Wl,--wrap=syslog) and matched strictly: a
// test takes every line that was written, and one line too many fails it.
//
// Safe to use from several threads.
#pragma once

#include <cstddef>
#include <gtest/gtest.h>
#include <ostream>
#include <string>
#include <vector>

struct LogLine {
  int priority;
  std::string text;

  bool operator==(const LogLine& other) const { return priority == other.priority && text == other.text; }
};

std::ostream& operator<<(std::ostream& out, const LogLine& line);

using LogLines = std::vector<LogLine>;

// All lines since the last call.
LogLines takeLog();

// The same, but waits first until there are `count` lines, for at most ten seconds.
LogLines awaitLog(std::size_t count);

// Stops the log's reader while it exists: whoever writes a line waits.
class StoppedLog {
public:
  StoppedLog();
  StoppedLog(const StoppedLog&) = delete;
  StoppedLog& operator=(const StoppedLog&) = delete;
  ~StoppedLog();

  // Waits until a thread waits in a line, for at most ten seconds. Returns how many wait.
  static unsigned awaitWriter();
};

// The two lines of a software error in components/PoeDriver/<source>.
LogLines softwareError(const std::string& source, int line, const std::string& message);

LogLines operator+(LogLines first, const LogLines& second);

// Base of all fixtures: whatever a test did not take from the log fails it.
class StrictLogTest : public ::testing::Test {
protected:
  StrictLogTest() { takeLog(); }
  void TearDown() override { EXPECT_EQ(takeLog(), LogLines{}) << "lines that the test did not expect"; }
};
