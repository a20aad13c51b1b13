// The start of the worker and the first configuration with every transfer failing, alone and from there on,
// and every second failure in the cycle that follows, each on an engine of its own beside its model.
#include "tests/faults/fault_walk.h"
#include "tests/support/doubles/log_capture.h"
#include "tests/support/model/powered_card.h"

#include <cstdio>
#include <gtest/gtest.h>

namespace {

class EveryFault : public StrictLogTest {
protected:
  // One run: set-up and first cycle under `start`, the first configuration under `first`, the next cycle
  // under `second`, and a healthy one. Learns the faults that there are.
  void runOnce(FaultWalk* start, FaultWalk* first, FaultWalk* second) {
    RegisterFile registers;
    setPoweredPorts(registers);
    ServicePair pair(registers);
    pair.construct();
    fail(pair, *start);
    int cycle = 0;
    pair.run([&] {
      cycle++;
      if (cycle == 1) {
        learn(start);
        fail(pair, *first);
        pair.handleConfig(fittingConfig());
        learn(first);
        fail(pair, *second);
      } else if (cycle == 2) {
        learn(second);
        pair.bus.failNone();
      } else if (second->isFaultless()) {
        pair.reportCached();
        pair.reportLive();
      }
      return cycle < 3;
    });
    EXPECT_EQ(pair.takeDifferences(), "");
    EXPECT_EQ(m_healed.differs(pair, registers, fittingConfig()), "");
    m_tried++;
    if (HasFailure()) {
      ADD_FAILURE() << "start: " << start->text() << "; first configuration: " << first->text()
                    << "; cycle: " << second->text();
    }
  }

  // All of the walk `first`, and after each of its faults every single one of `second`.
  void runWithEvery(FaultWalk* start, FaultWalk* first, FaultWalk* walk) {
    FaultWalk second;
    do {
      do {
        runOnce(start, first, &second);
      } while (!HasFailure() && second.nextSecond());
      second.restart();
    } while (!HasFailure() && walk->next());
    std::printf("faults tried: %zu\n", m_tried);
  }

private:
  void fail(ServicePair& pair, const FaultWalk& fault) {
    m_transfers = 0;
    pair.bus.failWhen([&](std::size_t, const Transfer&) { return fault.fails(m_transfers++); });
  }

  void learn(FaultWalk* fault) const {
    if (fault->isFaultless()) {
      fault->learn(m_transfers);
    }
  }

  Healed m_healed;
  std::size_t m_transfers = 0;
  std::size_t m_tried = 0;
};

TEST_F(EveryFault, OfTheStartAndEverySecondOneLeaveWhatTheModelLeavesAndHeal) {
  FaultWalk start;
  FaultWalk none;
  runWithEvery(&start, &none, &start);
}

TEST_F(EveryFault, OfTheFirstConfigurationAndEverySecondOneLeaveWhatTheModelLeavesAndHeal) {
  FaultWalk none;
  FaultWalk first;
  runWithEvery(&none, &first, &first);
}

} // namespace
