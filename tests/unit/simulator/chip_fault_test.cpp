// The chip model: what goes wrong at a port or with the supply.
#include "tests/unit/simulator/chip_test.h"

#include <functional>
#include <map>
#include <utility>
#include <vector>

namespace {

// All ports on, with a device of 5 W in each.
class ChipFault : public ChipTest {
protected:
  ChipFault() {
    for (unsigned port = 0; port < 4; ++port) {
      chip.plug(port, {});
    }
    switchOn();
    chip.advance(LONG_ENOUGH);
  }

  // Each port has the fault in turn; meanwhile its register shows `shown`.
  void expectShownAndOff(Fault fault, const std::vector<std::pair<unsigned, unsigned>>& registers) {
    for (unsigned port = 0; port < 4; ++port) {
      const auto& [address, shown] = registers.at(port);
      chip.fault(port, fault);
      EXPECT_EQ(reg(address), shown);
      chip.advance(RETRIED);
      EXPECT_EQ(reg(0x10), 0xFF & ~(0x11U << port));
      EXPECT_EQ(reg(0x0C + port), 0);
      chip.fault(port, Fault::None);
      EXPECT_EQ(reg(address), 0);
      chip.advance(LONG_ENOUGH);
      EXPECT_EQ(reg(0x10), 0xFF);
    }
  }
};

TEST_F(ChipFault, OfTheFetIsShownAndKeepsThePortOffUntilItIsMended) {
  expectShownAndOff(Fault::Fet, {{0x49, 0x02}, {0x4E, 0x02}, {0x53, 0x02}, {0x58, 0x02}});
}

TEST_F(ChipFault, OfOverTemperatureIsShownInThePortsNibbleAndKeepsThePortOffUntilItIsMended) {
  expectShownAndOff(Fault::OverTemperature, {{0x75, 0x01}, {0x75, 0x10}, {0x76, 0x01}, {0x76, 0x10}});
}

TEST_F(ChipFault, OutlastsAPowerCycle) {
  chip.fault(0, Fault::Fet);
  chip.fault(1, Fault::OverTemperature);
  chip.powerCycle();
  EXPECT_TRUE(shows({{0x49, 0x02}, {0x75, 0x10}}));
}

TEST_F(ChipFault, CountsNothing) {
  chip.fault(0, Fault::Fet);
  chip.fault(1, Fault::OverTemperature);
  chip.supply(20.0);
  chip.thermalShutdown(true);
  chip.advance(RETRIED);
  for (unsigned counter = 0x77; counter <= 0x7C; ++counter) {
    EXPECT_EQ(reg(counter), 0);
  }
}

TEST_F(ChipFault, OfClassificationIsCountedShownAsOvercurrentAndOverWithTheNextTry) {
  chip.classError(1);
  EXPECT_EQ(reg(0x10), 0xFF) << "a port with power is not classified";
  insert(1);
  EXPECT_TRUE(shows({{0x7C, 0x04}, {0x0D, 0x74}, {0x10, 0xDD}}));
  chip.advance(RETRIED);
  EXPECT_TRUE(shows({{0x7C, 0x04}, {0x0D, 0x64}, {0x10, 0xFF}}));
}

TEST_F(ChipFault, OfClassificationWaitsForTheNextOne) {
  chip.classError(2);
  chip.powerCycle();
  EXPECT_TRUE(chip.classErrorPending(2));
  switchOn();
  chip.advance(LONG_ENOUGH);
  EXPECT_FALSE(chip.classErrorPending(2));
  EXPECT_EQ(reg(0x7C), 0x10);
}

TEST_F(ChipFault, OfALowSupplySwitchesAllPortsOffBelowTheMinimumUntilItIsBack) {
  write(0xCB, 250); // 46.5 V
  chip.supply(46.5);
  EXPECT_EQ(reg(0x10), 0xFF);
  chip.supply(46.4);
  EXPECT_TRUE(shows({{0x10, 0}, {0x96, 0}}));
  EXPECT_EQ(word(0x32), 0U);
  chip.advance(RETRIED);
  EXPECT_EQ(reg(0x10), 0);
  chip.supply(50.0);
  chip.advance(LONG_ENOUGH);
  EXPECT_EQ(reg(0x10), 0xFF);
}

TEST_F(ChipFault, OfALowSupplyFollowsAMinimumOfElevenBitsThatIsRaised) {
  write(0xCC, 0xF8);
  EXPECT_EQ(reg(0x10), 0xFF);
  write(0xCC, 0x01); // 256 + 237 units: 91.7 V
  EXPECT_EQ(reg(0x10), 0);
  EXPECT_NEAR(chip.minimumSupply(), 91.698, 1e-9);
}

TEST_F(ChipFault, OfASupplyBelow30VoltsNeedsNoMinimum) {
  write(0xCB, 0);
  chip.supply(30.0);
  EXPECT_EQ(reg(0x10), 0xFF);
  chip.supply(29.9);
  EXPECT_EQ(reg(0x10), 0);
}

TEST_F(ChipFault, OfTheSupplyIsMeasuredAndTheCurrentMakesUpForIt) {
  chip.supply(45.0);
  EXPECT_NEAR(word(0x71) * 0.005835, 45.0, 0.003);
  EXPECT_NEAR(word(0x36) * 0.005835, 45.0, 0.003);
  EXPECT_NEAR(word(0x34) * 0.00012207, 5.0 / 45.0, 0.0001);
  EXPECT_EQ(reg(0x93), 5);
  chip.powerCycle();
  EXPECT_NEAR(word(0x71) * 0.005835, 45.0, 0.003);
}

TEST_F(ChipFault, OfNoSupplyLeavesTheRegistersReadable) {
  chip.supply(0.0);
  EXPECT_EQ(word(0x71), 0U);
  EXPECT_TRUE(shows({{0x10, 0}, {0x43, 0x41}}));
}

TEST_F(ChipFault, OfEachKindIsCountedFromZeroToThreeWithinItsPort) {
  for (const unsigned other : {0U, 2U, 3U}) {
    chip.unplug(other);
  }
  std::map<unsigned, std::function<void()>> eventsByCounter;
  eventsByCounter[0x77] = [&] { insert(1, {Signature::ResistanceTooLow, 0, 0.0}); };
  eventsByCounter[0x78] = [&] {
    write(0x89, 0); // the limit of the active bank
    insert(1);
    write(0x89, 0x90);
  };
  eventsByCounter[0x79] = [&] {
    insert(1);
    chip.draw(1, 90.0);
  };
  eventsByCounter[0x7A] = [&] {
    insert(1);
    chip.unplug(1);
  };
  eventsByCounter[0x7B] = [&] {
    insert(1);
    chip.plug(1, {Signature::Short, 0, 0.0});
  };
  eventsByCounter[0x7C] = [&] {
    chip.classError(1);
    insert(1);
  };
  for (const auto& [counter, happen] : eventsByCounter) {
    const unsigned before = reg(counter);
    for (unsigned count = 1; count <= 5; ++count) {
      happen();
      EXPECT_EQ(reg(counter), (before & ~0x0CU) | ((before + (count << 2)) & 0x0CU))
          << std::hex << counter << ", event " << count;
    }
  }
}

} // namespace
