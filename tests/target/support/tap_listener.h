// Reports the tests in TAP, version 13: the plan first, then one line for each test in the order of running.
// What a failed test says, and what is measured, stands in lines that start with "# ".
#pragma once

#include <gtest/gtest.h>
#include <string>

class TapListener : public ::testing::EmptyTestEventListener {
public:
  void OnTestProgramStart(const ::testing::UnitTest& tests) override;
  void OnTestPartResult(const ::testing::TestPartResult& result) override;
  void OnTestEnd(const ::testing::TestInfo& test) override;

private:
  int m_number = 0;
};

// A measured value, for the report: "# measured: WHAT: VALUE".
void measured(const std::string& what, const std::string& value);
void measured(const std::string& what, double value); // with two decimals
