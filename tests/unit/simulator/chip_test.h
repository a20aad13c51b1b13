// A chip in simulated time, and what its tests do with it.
#pragma once

#include "simulator/chip/chip_model.h"

#include <gtest/gtest.h>
#include <initializer_list>
#include <sstream>
#include <utility>

class ChipTest : public testing::Test {
protected:
  using Fault = ChipModel::Fault;
  using Phase = ChipModel::Phase;
  using Signature = ChipModel::Signature;

  static constexpr double LONG_ENOUGH = 0.5; // for detection, classification and power-up
  static constexpr double RETRIED = 2.0;     // after the error delay of a port

  std::uint8_t reg(unsigned address) const {
    std::uint8_t value = 0;
    EXPECT_TRUE(chip.read(static_cast<std::uint8_t>(address), &value)) << "register " << address;
    return value;
  }
  // Whether the registers have these values.
  testing::AssertionResult shows(std::initializer_list<std::pair<unsigned, unsigned>> expected) const {
    std::ostringstream wrong;
    for (const auto& [address, value] : expected) {
      if (reg(address) != value) {
        wrong << std::hex << " 0x" << address << " has 0x" << unsigned{reg(address)} << ", not 0x" << value;
      }
    }
    return wrong.str().empty() ? testing::AssertionSuccess() : testing::AssertionFailure() << wrong.str();
  }
  unsigned word(unsigned address) const { return reg(address) + 256U * reg(address + 1); }

  void write(unsigned address, unsigned value) {
    EXPECT_TRUE(chip.write(static_cast<std::uint8_t>(address), static_cast<std::uint8_t>(value)));
  }
  void switchOn() {
    write(0x12, 0xFF);
    write(0x14, 0xFF);
  }
  // Plugs in a device and waits until a port that is on has power.
  void insert(unsigned port, const ChipModel::Device& device = {}) {
    chip.plug(port, device);
    chip.advance(LONG_ENOUGH);
  }

  ChipModel chip;
};
