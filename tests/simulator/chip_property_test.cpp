// What holds for the chip model whatever is written and plugged.
#include "simulator/chip/chip_words.h"

#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <random>

namespace {

using Signature = ChipModel::Signature;

constexpr int STEPS = 4000;
// A counter sees at most one event of a step of this length: a port is tried
// again after a second.
constexpr double LONGEST_STEP = 0.5;

class ChipProperties : public testing::TestWithParam<unsigned> {
protected:
  unsigned below(unsigned bound) { return std::uniform_int_distribution<unsigned>(0, bound - 1)(m_random); }
  double upTo(double most) { return std::uniform_real_distribution<double>(0.0, most)(m_random); }

  // Every other device is a good one.
  Signature anySignature() { return below(2) == 0 ? Signature::Good : SIGNATURE_WORDS.at(below(6)).second; }

  void doSomething() {
    const unsigned port = below(4);
    switch (below(16)) {
    case 0:
      m_watts.at(port) = upTo(20.0);
      chip.plug(port, {anySignature(), below(5), m_watts.at(port)});
      break;
    case 1:
      m_watts.at(port) = 0.0;
      chip.unplug(port);
      break;
    case 2:
      m_watts.at(port) = upTo(20.0);
      chip.draw(port, m_watts.at(port));
      break;
    case 3: // any register, any value
      chip.write(static_cast<std::uint8_t>(below(256)), static_cast<std::uint8_t>(below(256)));
      break;
    case 4: // often enough everything on and mended, so that power flows
      for (unsigned each = 0; each < 4; ++each) {
        chip.fault(each, ChipModel::Fault::None);
      }
      chip.supply(54.0);
      chip.write(0x12, 0xFF);
      chip.write(0x14, 0xFF);
      chip.write(0xCB, 0xED);
      chip.write(0xCC, 0);
      break;
    case 5:
      chip.write(static_cast<std::uint8_t>(0x81 + port), static_cast<std::uint8_t>(below(64)));
      break;
    case 6: // the bank that is mostly the active one
      chip.write(0x89, static_cast<std::uint8_t>(below(80)));
      break;
    case 7:
      chip.fault(port, static_cast<ChipModel::Fault>(below(3)));
      break;
    case 8:
      chip.classError(port);
      break;
    case 9:
      chip.supply(below(4) == 0 ? upTo(100.0) : 40.0 + upTo(17.0));
      break;
    case 10:
      chip.activeBank(below(4) == 0 ? below(16) : 0);
      break;
    default:
      chip.advance(upTo(LONGEST_STEP));
      break;
    }
  }

  double portWatts(unsigned port) const {
    const auto at = [this](unsigned address) {
      return double{1} * chip.reg(static_cast<std::uint8_t>(address));
    };
    const double volts = (at(0x32 + 4 * port) + 256 * at(0x33 + 4 * port)) * 0.005835;
    const double amps = (at(0x30 + 4 * port) + 256 * at(0x31 + 4 * port)) * 0.00012207;
    return volts * amps;
  }

  ChipModel chip;
  std::array<double, 4> m_watts{};
  std::mt19937 m_random{GetParam()};
};

TEST_P(ChipProperties, ConsumptionNeverExceedsWhatIsPlugged) {
  int powered = 0;
  for (int step = 0; step < STEPS; ++step) {
    doSomething();
    double plugged = 0.0;
    for (unsigned port = 0; port < 4; ++port) {
      ASSERT_LE(chip.reg(static_cast<std::uint8_t>(0x92 + port)), m_watts.at(port) + 0.51) << step;
      plugged += m_watts.at(port);
    }
    ASSERT_LE(chip.reg(0x96), plugged + 0.52) << step;
    powered += chip.reg(0x96) > 0 ? 1 : 0;
  }
  EXPECT_GT(powered, STEPS / 10) << "the walk hardly ever powers anything";
}

TEST_P(ChipProperties, PowerIsVoltageTimesCurrent) {
  for (int step = 0; step < STEPS; ++step) {
    doSomething();
    double total = 0.0;
    for (unsigned port = 0; port < 4; ++port) {
      ASSERT_NEAR(chip.reg(static_cast<std::uint8_t>(0x92 + port)), portWatts(port), 0.5 + 1e-9) << step;
      total += portWatts(port);
    }
    ASSERT_NEAR(chip.reg(0x96), total, 0.5 + 1e-9) << step;
  }
}

TEST_P(ChipProperties, OnlyPortsWithPowerShowVoltage) {
  for (int step = 0; step < STEPS; ++step) {
    doSomething();
    for (unsigned port = 0; port < 4; ++port) {
      const bool enabled = (chip.reg(0x10) >> port & 1) != 0;
      const bool voltage = chip.reg(static_cast<std::uint8_t>(0x33 + 4 * port)) != 0;
      ASSERT_EQ(enabled, voltage) << step;
    }
  }
}

TEST_P(ChipProperties, ConsumptionNeverExceedsTheBankLimit) {
  for (int step = 0; step < STEPS; ++step) {
    doSomething();
    const unsigned bank = chip.reg(0x91) >> 3 & 7U;
    ASSERT_LE(chip.reg(0x96), chip.reg(static_cast<std::uint8_t>(0x89 + bank))) << step;
  }
}

TEST_P(ChipProperties, CountersOnlyAdvanceByOneModuloFour) {
  int events = 0;
  for (int step = 0; step < STEPS; ++step) {
    std::array<unsigned, 6> before{};
    for (unsigned i = 0; i < 6; ++i) {
      before.at(i) = chip.reg(static_cast<std::uint8_t>(0x77 + i));
    }
    doSomething();
    for (unsigned i = 0; i < 6; ++i) {
      const unsigned after = chip.reg(static_cast<std::uint8_t>(0x77 + i));
      for (unsigned port = 0; port < 4; ++port) {
        const unsigned change = ((after >> (2 * port) & 3U) - (before.at(i) >> (2 * port) & 3U)) & 3U;
        ASSERT_LE(change, 1U) << "step " << step << " counter " << i << " port " << port;
        events += static_cast<int>(change);
      }
    }
  }
  EXPECT_GT(events, 100) << "the walk hardly ever causes an event";
}

INSTANTIATE_TEST_SUITE_P(Seeds, ChipProperties, testing::Range(1U, 11U),
                         [](const auto& seed) { return "Seed" + std::to_string(seed.param); });

} // namespace
