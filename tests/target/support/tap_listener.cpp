#include "tests/target/support/tap_listener.h"

#include <cstdio>
#include <sstream>

void TapListener::OnTestProgramStart(const ::testing::UnitTest& tests) {
  std::printf("TAP version 13\n1..%d\n", tests.test_to_run_count());
}

void TapListener::OnTestPartResult(const ::testing::TestPartResult& result) {
  std::istringstream lines(result.message());
  std::printf("# %s:%d\n", result.file_name() == nullptr ? "unknown" : result.file_name(),
              result.line_number());
  for (std::string line; std::getline(lines, line);) {
    std::printf("#   %s\n", line.c_str());
  }
}

// A skipped test is none that passed.
void TapListener::OnTestEnd(const ::testing::TestInfo& test) {
  const bool passed = test.result()->Passed();
  std::printf("%s %d - %s.%s\n", passed ? "ok" : "not ok", ++m_number, test.test_suite_name(), test.name());
}

void measured(const std::string& what, const std::string& value) {
  std::printf("# measured: %s: %s\n", what.c_str(), value.c_str());
}

void measured(const std::string& what, double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.2f", value);
  measured(what, std::string(text));
}
