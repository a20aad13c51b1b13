// The log lines of the program under test, kept instead of sent to the system's log. May be used by any
// thread.
#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

struct LogLine {
  int priority;
  std::string text;
};

inline bool operator==(const LogLine& a, const LogLine& b) {
  return a.priority == b.priority && a.text == b.text;
}

inline std::ostream& operator<<(std::ostream& stream, const LogLine& line) {
  return stream << '<' << line.priority << "> " << line.text;
}

using Log = std::vector<LogLine>;

// The lines since the last call.
Log takeLog();

// The same, but waits first until there are `count` lines, for at most ten seconds.
Log awaitLog(std::size_t count);
