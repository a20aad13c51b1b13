// The service's start.
#include "tests/target/support/tap_listener.h"
#include "tests/target/support/target_fixture.h"

namespace {

using Start = TargetTest;

TEST_F(Start, WritesItsMilestonesAndNothingElse) {
  startService();
  EXPECT_EQ(service->output(), START_OUTPUT);
  EXPECT_EQ(log.take(), START_LOG);
}

TEST_F(Start, LeadsToAStatusMessageWithinTwoSeconds) {
  const auto begin = std::chrono::steady_clock::now();
  startService();
  const auto duration = std::chrono::steady_clock::now() - begin;
  EXPECT_LT(duration, std::chrono::seconds(2));
  measured("start of the service to its first status message",
           std::to_string(std::chrono::duration_cast<std::chrono::milliseconds>(duration).count()) + " ms");
  EXPECT_EQ(log.take(), START_LOG);
}

#ifdef HAS_STATIC_SERVICE
TEST_F(Start, OfTheStaticProgramIsThatOfTheDynamicOne) {
  startService({"/static/poe_service"});
  EXPECT_EQ(status->next().status.mainOperStatus, 1U);
  EXPECT_EQ(service->output(), START_OUTPUT);
  EXPECT_EQ(log.take(), START_LOG);
}
#endif

} // namespace
