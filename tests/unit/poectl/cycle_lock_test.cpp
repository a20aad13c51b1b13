// How often a port may be cycled.
#include "poectl/service/cycle_lock.h"

#include "tests/support/error_text.h"
#include "tests/support/process/temporary_directory.h"

#include <cstdlib>
#include <gtest/gtest.h>

namespace {

using std::chrono::milliseconds;

class CycleLockTest : public ::testing::Test {
protected:
  CycleLockTest() { setenv("XDG_RUNTIME_DIR", folder.path().c_str(), 1); }
  ~CycleLockTest() override { unsetenv("XDG_RUNTIME_DIR"); }

  static std::string refusal(unsigned port, milliseconds now) {
    return errorText<CycleRefusal>([&] { const CycleLock lock(port, now); });
  }

  const TemporaryDirectory folder;
};

TEST_F(CycleLockTest, LetsAPortBeCycledOnceIn10Seconds) {
  CycleLock(1, milliseconds(5000)).stamp(milliseconds(5000));
  EXPECT_EQ(refusal(1, milliseconds(6500)),
            "port 1 was cycled 1.5 s ago; once in 10 s is accepted: wait 8.5 s");
  EXPECT_EQ(refusal(1, milliseconds(14999)),
            "port 1 was cycled 10.0 s ago; once in 10 s is accepted: wait 0.0 s");
  EXPECT_EQ(refusal(1, milliseconds(15000)), "accepted");
  EXPECT_EQ(refusal(2, milliseconds(6500)), "accepted") << "the ports are independent";
}

TEST_F(CycleLockTest, LetsNobodyElseCycleThePortMeanwhile) {
  const CycleLock lock(1, milliseconds(5000));
  EXPECT_EQ(refusal(1, milliseconds(50000)), "another poectl cycles port 1 at this moment");
  EXPECT_EQ(refusal(0, milliseconds(50000)), "accepted");
}

TEST_F(CycleLockTest, IgnoresAStampFromBeforeTheMachineStarted) {
  CycleLock(1, milliseconds(500000)).stamp(milliseconds(500000));
  EXPECT_EQ(refusal(1, milliseconds(4000)), "accepted");
}

} // namespace
