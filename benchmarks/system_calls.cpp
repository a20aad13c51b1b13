#include "benchmarks/system_calls.h"

#include <fstream>
#include <gtest/gtest.h>

namespace {

constexpr char TRACE[] = "/tmp/trace";

// The name of the call that begins in this line; empty for a line that continues a call or tells of something
// else.
std::string callIn(const std::string& line) {
  const std::size_t start = line.find_first_not_of("0123456789 ");
  const std::size_t end = line.find('(');
  if (start == std::string::npos || end == std::string::npos || line[start] == '<' || line[start] == '-') {
    return {};
  }
  return line.substr(start, end - start);
}

} // namespace

std::vector<std::string> traced(const std::string& program) {
  return {"/bin/strace", "-D", "-f", "-o", TRACE, program};
}

SystemCalls callsOfCycles(int cycles) {
  std::ifstream trace(TRACE);
  SystemCalls calls;
  int messages = 0;
  for (std::string line; std::getline(trace, line);) {
    const std::string name = callIn(line);
    if (name.empty()) {
      continue;
    }
    if (messages >= 2 && messages < 2 + cycles) {
      calls[name]++;
    }
    messages += name == "mq_timedsend" ? 1 : 0;
  }
  EXPECT_GE(messages, 2 + cycles);
  return calls;
}
