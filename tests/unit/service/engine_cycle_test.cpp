// Whole cycles of the worker: their transfers, and that they do without the heap.
#include "tests/unit/service/engine_fixture.h"

namespace {

class WorkerCycle : public EngineTest {};

TEST_F(WorkerCycle, AllocatesNothing) {
  makeEngine();
  std::size_t before = 0;
  runCycles({[&] { configure(fourPorts()); },
             [&] {
               takeLog();
               before = allocationCount();
               // The count itself works.
               const auto one = std::make_unique<int>(1);
             },
             [&] { EXPECT_EQ(allocationCount(), before); }});
}

TEST_F(WorkerCycle, ApplyingAConfigurationAllocatesNothing) {
  makeEngine();
  const PoeConfig config = fourPorts();
  runCycles({[&] {
    const std::size_t before = allocationCount();
    configure(config);
    configure(config);
    EXPECT_EQ(allocationCount(), before);
  }});
  takeLog();
}

} // namespace
