// The chip model: what goes wrong at a port or with the supply.
#include "simulator/chip/chip_model.h"

#include <functional>
#include <gtest/gtest.h>
#include <utility>

namespace {

using Fault = ChipModel::Fault;

constexpr double LONG_ENOUGH = 0.5; // for detection, classification and power-up
constexpr double RETRIED = 2.0;

// All ports on, with a device of 5 W in each.
class ChipFault : public testing::Test {
protected:
  ChipFault() {
    for (unsigned port = 0; port < 4; ++port) {
      chip.plug(port, {});
    }
    chip.write(0x12, 0xFF);
    chip.write(0x14, 0xFF);
    chip.advance(LONG_ENOUGH);
  }
  unsigned word(unsigned address) const {
    return chip.reg(static_cast<std::uint8_t>(address)) +
           256U * chip.reg(static_cast<std::uint8_t>(address + 1));
  }

  ChipModel chip;
};

TEST_F(ChipFault, OfTheFetIsShownAndKeepsThePortOffUntilItIsMended) {
  for (unsigned port = 0; port < 4; ++port) {
    const auto status = static_cast<std::uint8_t>(0x49 + 5 * port);
    chip.fault(port, Fault::Fet);
    EXPECT_EQ(chip.reg(status), 0x02);
    chip.advance(RETRIED);
    EXPECT_EQ(chip.reg(0x10), 0xFF & ~(0x11U << port));
    EXPECT_EQ(chip.reg(static_cast<std::uint8_t>(0x0C + port)), 0);
    chip.fault(port, Fault::None);
    EXPECT_EQ(chip.reg(status), 0x00);
    chip.advance(LONG_ENOUGH);
    EXPECT_EQ(chip.reg(0x10), 0xFF);
  }
}

TEST_F(ChipFault, OfOverTemperatureIsShownInThePortsNibbleAndKeepsThePortOff) {
  const unsigned registers[] = {0x75, 0x75, 0x76, 0x76};
  const unsigned bits[] = {0x01, 0x10, 0x01, 0x10};
  for (unsigned port = 0; port < 4; ++port) {
    const auto conditions = static_cast<std::uint8_t>(registers[port]);
    chip.fault(port, Fault::OverTemperature);
    EXPECT_EQ(chip.reg(conditions), bits[port]);
    EXPECT_EQ(chip.reg(0x10), 0xFF & ~(0x11U << port));
    chip.fault(port, Fault::None);
    EXPECT_EQ(chip.reg(conditions), 0);
    chip.advance(LONG_ENOUGH);
    EXPECT_EQ(chip.reg(0x10), 0xFF);
  }
}

TEST_F(ChipFault, OutlastsAPowerCycle) {
  chip.fault(0, Fault::Fet);
  chip.fault(1, Fault::OverTemperature);
  chip.powerCycle();
  EXPECT_EQ(chip.reg(0x49), 0x02);
  EXPECT_EQ(chip.reg(0x75), 0x10);
}

TEST_F(ChipFault, CountsNothing) {
  chip.fault(0, Fault::Fet);
  chip.fault(1, Fault::OverTemperature);
  chip.supply(20.0);
  chip.thermalShutdown(true);
  chip.advance(RETRIED);
  for (std::uint8_t counter = 0x77; counter <= 0x7C; ++counter) {
    EXPECT_EQ(chip.reg(counter), 0);
  }
}

TEST_F(ChipFault, OfClassificationIsCountedShownAsOvercurrentAndOverWithTheNextTry) {
  chip.classError(1);
  EXPECT_EQ(chip.reg(0x10), 0xFF) << "a port with power is not classified";
  chip.plug(1, {});
  chip.advance(LONG_ENOUGH);
  EXPECT_EQ(chip.reg(0x7C), 0x04);
  EXPECT_EQ(chip.reg(0x0D), 0x74);
  EXPECT_EQ(chip.reg(0x10), 0xDD);
  chip.advance(RETRIED);
  EXPECT_EQ(chip.reg(0x7C), 0x04);
  EXPECT_EQ(chip.reg(0x0D), 0x64);
  EXPECT_EQ(chip.reg(0x10), 0xFF);
}

TEST_F(ChipFault, OfClassificationWaitsForTheNextOne) {
  chip.classError(2);
  chip.powerCycle();
  EXPECT_TRUE(chip.classErrorPending(2));
  chip.write(0x12, 0xFF);
  chip.write(0x14, 0xFF);
  chip.advance(LONG_ENOUGH);
  EXPECT_FALSE(chip.classErrorPending(2));
  EXPECT_EQ(chip.reg(0x7C), 0x10);
}

TEST_F(ChipFault, OfALowSupplySwitchesAllPortsOffBelowTheMinimumUntilItIsBack) {
  chip.write(0xCB, 250); // 46.5 V
  chip.supply(46.5);
  EXPECT_EQ(chip.reg(0x10), 0xFF);
  chip.supply(46.4);
  EXPECT_EQ(chip.reg(0x10), 0);
  EXPECT_EQ(chip.reg(0x96), 0);
  EXPECT_EQ(word(0x32), 0U);
  chip.advance(RETRIED);
  EXPECT_EQ(chip.reg(0x10), 0);
  chip.supply(50.0);
  chip.advance(LONG_ENOUGH);
  EXPECT_EQ(chip.reg(0x10), 0xFF);
}

TEST_F(ChipFault, OfALowSupplyFollowsAMinimumThatIsRaised) {
  chip.write(0xCC, 0x01); // 256 + 237 units: 91.7 V
  EXPECT_EQ(chip.reg(0x10), 0);
  EXPECT_NEAR(chip.minimumSupply(), 91.698, 1e-9);
}

TEST_F(ChipFault, OfALowSupplyUsesElevenBitsOfTheMinimum) {
  chip.write(0xCC, 0xF8);
  EXPECT_EQ(chip.reg(0x10), 0xFF);
}

TEST_F(ChipFault, OfASupplyBelow30VoltsNeedsNoMinimum) {
  chip.write(0xCB, 0);
  chip.supply(30.0);
  EXPECT_EQ(chip.reg(0x10), 0xFF);
  chip.supply(29.9);
  EXPECT_EQ(chip.reg(0x10), 0);
}

TEST_F(ChipFault, OfTheSupplyIsMeasuredAndTheCurrentMakesUpForIt) {
  chip.supply(45.0);
  EXPECT_NEAR(word(0x71) * 0.005835, 45.0, 0.003);
  EXPECT_NEAR(word(0x36) * 0.005835, 45.0, 0.003);
  EXPECT_NEAR(word(0x34) * 0.00012207, 5.0 / 45.0, 0.0001);
  EXPECT_EQ(chip.reg(0x93), 5);
  chip.powerCycle();
  EXPECT_NEAR(word(0x71) * 0.005835, 45.0, 0.003);
}

TEST_F(ChipFault, OfNoSupplyLeavesTheRegistersReadable) {
  chip.supply(0.0);
  EXPECT_EQ(word(0x71), 0U);
  EXPECT_EQ(chip.reg(0x10), 0);
  EXPECT_EQ(chip.reg(0x43), 0x41);
}

TEST_F(ChipFault, OfEachKindIsCountedFromZeroToThreeWithinItsPort) {
  using Signature = ChipModel::Signature;
  for (const unsigned other : {0U, 2U, 3U}) {
    chip.unplug(other);
  }
  const auto insert = [this](const ChipModel::Device& device) {
    chip.plug(1, device);
    chip.advance(LONG_ENOUGH);
  };
  const std::pair<std::uint8_t, std::function<void()>> kinds[] = {
      {0x77,
       [&] {
         insert({Signature::ResistanceTooLow, 0, 0.0});
       }},
      {0x78,
       [&] {
         chip.write(0x89, 0); // the limit of the active bank
         insert({});
         chip.write(0x89, 0x90);
       }},
      {0x79,
       [&] {
         insert({});
         chip.draw(1, 90.0);
       }},
      {0x7A,
       [&] {
         insert({});
         chip.unplug(1);
       }},
      {0x7B,
       [&] {
         insert({});
         chip.plug(1, {Signature::Short, 0, 0.0});
       }},
      {0x7C,
       [&] {
         chip.classError(1);
         insert({});
       }},
  };
  for (const auto& [counter, happen] : kinds) {
    const unsigned before = chip.reg(counter);
    for (unsigned count = 1; count <= 5; ++count) {
      happen();
      EXPECT_EQ(chip.reg(counter), (before & ~0x0CU) | ((before + (count << 2)) & 0x0CU))
          << std::hex << unsigned{counter} << ", event " << count;
    }
  }
}

} // namespace
