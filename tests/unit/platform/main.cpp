// Runs the tests, and fails each one that leaves a log line that it has not asked for.
#include "tests/support/doubles/log_capture.h"

#include <gtest/gtest.h>

namespace {

class NoStrayLogLines : public testing::EmptyTestEventListener {
  void OnTestStart(const testing::TestInfo&) override { takeLog(); }
  void OnTestEnd(const testing::TestInfo&) override { EXPECT_EQ(takeLog(), LogLines{}); }
};

} // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  testing::UnitTest::GetInstance()->listeners().Append(new NoStrayLogLines);
  return RUN_ALL_TESTS();
}
