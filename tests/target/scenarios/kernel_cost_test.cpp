// What the service costs when the kernel's I2C adapter leads to the simulated card.
#include "tests/target/scenarios/kernel_bus.h"
#include "tests/target/support/tap_listener.h"

namespace {

using std::chrono::milliseconds;

class KernelCost : public KernelBus {};

TEST_F(KernelCost, OfAStartIsLessThanTwoSeconds) {
  const milliseconds duration = timeOf([this] { startService(); });
  EXPECT_LT(duration, milliseconds(2000));
  measured("start of the service to its first status message", std::to_string(duration.count()) + " ms");
  EXPECT_EQ(log.take(), START_LOG);
}

TEST_F(KernelCost, OfTwentyCyclesIsASecondEachAndNoMemory) {
  startWithAPoweredPort();
  nextWholeStatus();
  const Footprint before = footprintOf(service->pid());
  const milliseconds duration = timeOf([this] {
    for (int message = 0; message < 20; message++) {
      status->next();
    }
  });
  const milliseconds cycle = duration / 20;
  EXPECT_GE(cycle, milliseconds(990));
  EXPECT_LE(cycle, milliseconds(1200));
  const Footprint after = footprintOf(service->pid());
  EXPECT_LE(after.memory, before.memory + 64);
  measured("mean period of 20 cycles", std::to_string(cycle.count()) + " ms");
  measured("processor time of a cycle",
           std::to_string((after.processorTime - before.processorTime).count() / 20) + " us");
  measured("resident memory", std::to_string(after.memory) + " kB");
  EXPECT_EQ(log.take(), "");
}

} // namespace
