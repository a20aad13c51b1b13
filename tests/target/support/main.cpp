// The tests of a whole machine; they run as its only work, started by init.
#include "tests/target/support/tap_listener.h"

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  setvbuf(stdout, nullptr, _IOLBF, 0);
  auto& listeners = ::testing::UnitTest::GetInstance()->listeners();
  delete listeners.Release(listeners.default_result_printer());
  listeners.Append(new TapListener);
  return RUN_ALL_TESTS();
}
