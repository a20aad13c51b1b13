// The chip model: registers, the life of a port, measurements, environment.
#include "tests/unit/simulator/chip_test.h"

#include <initializer_list>
#include <iterator>
#include <string>

namespace {

using ChipRegisters = ChipTest;
using ChipPort = ChipTest;
using ChipMeasurement = ChipTest;
using ChipEnvironment = ChipTest;
using ChipPowerCycle = ChipTest;

TEST_F(ChipRegisters, AnswerUpTo0xCEAndNotAbove) {
  std::uint8_t value = 0xA5;
  for (unsigned address = 0; address <= 0xFF; ++address) {
    const auto place = static_cast<std::uint8_t>(address);
    EXPECT_EQ(chip.read(place, &value), address <= 0xCE) << address;
    EXPECT_EQ(chip.write(place, 0), address <= 0xCE) << address;
  }
  value = 0xA5;
  EXPECT_FALSE(chip.read(0xCF, &value));
  EXPECT_EQ(value, 0xA5);
}

TEST_F(ChipRegisters, HaveEveryPortOffAndNoBankAtZeroAfterPowerOn) {
  for (const unsigned address : std::initializer_list<unsigned>{0x10, 0x12, 0x13, 0x14, 0x15, 0x91, 0x96}) {
    EXPECT_EQ(reg(address), 0) << address;
  }
  for (unsigned address = 0x89; address <= 0x90; ++address) {
    EXPECT_NE(reg(address), 0) << address;
  }
}

TEST_F(ChipRegisters, OfTheConfigurationAndWithoutAMeaningHoldWhatIsWritten) {
  for (const unsigned address : std::initializer_list<unsigned>{
           0x12, 0x13, 0x14, 0x15, 0x1E, 0x1F, 0x44, 0x46, 0x4B, 0x50, 0x55, 0x47, 0x4C, 0x51,
           0x56, 0x48, 0x4D, 0x52, 0x57, 0x7F, 0x80, 0x81, 0x84, 0x85, 0x88, 0x89, 0x90, 0xA0}) {
    for (const unsigned value : {0x5AU, 0xA5U}) {
      write(address, value);
      EXPECT_EQ(reg(address), value) << address;
    }
  }
}

TEST_F(ChipRegisters, OfTheStatusTakeNoWrites) {
  for (const unsigned address : std::initializer_list<unsigned>{
           0x0C, 0x0F, 0x10, 0x30, 0x31, 0x32, 0x33, 0x3C, 0x3F, 0x42, 0x43, 0x49,
           0x58, 0x70, 0x71, 0x72, 0x75, 0x76, 0x77, 0x7C, 0x91, 0x92, 0x95, 0x96}) {
    const std::uint8_t before = reg(address);
    write(address, ~before);
    EXPECT_EQ(reg(address), before) << address;
  }
}

TEST_F(ChipRegisters, OfPortResetReadsZero) {
  write(0x1A, 0x0F);
  EXPECT_EQ(reg(0x1A), 0);
}

TEST_F(ChipRegisters, CanBeForcedAndStayForcedWhileNothingHappens) {
  chip.setReg(0x43, 0xE7);
  chip.setReg(0x10, 0x21);
  chip.advance(5.0);
  write(0xA0, 1);
  EXPECT_TRUE(shows({{0x43, 0xE7}, {0x10, 0x21}}));
}

TEST_F(ChipRegisters, OfAnAbsentChipAreNotAcknowledgedAndNotLost) {
  write(0x81, 0x1E);
  chip.setPresent(false);
  std::uint8_t value = 0;
  EXPECT_FALSE(chip.read(0x43, &value));
  EXPECT_FALSE(chip.write(0x81, 0x01));
  chip.setPresent(true);
  EXPECT_EQ(reg(0x81), 0x1E);
}

TEST_F(ChipPort, WithABadSignatureIsShownCountedAndNeverPowered) {
  const std::pair<Signature, unsigned> rows[] = {{Signature::Short, 1},
                                                 {Signature::CapacitanceTooHigh, 2},
                                                 {Signature::ResistanceTooLow, 3},
                                                 {Signature::ResistanceTooHigh, 5}};
  for (const auto& [signature, code] : rows) {
    for (unsigned port = 0; port < 4; ++port) {
      SCOPED_TRACE("code " + std::to_string(code) + " in port " + std::to_string(port));
      chip = ChipModel();
      switchOn();
      insert(port, {signature, 0, 5.0});
      EXPECT_EQ(reg(0x0C + port), code);
      EXPECT_EQ(reg(0x75 + port / 2), 0x08U << (4 * (port % 2)));
      EXPECT_EQ(reg(0x75 + (port / 2 + 1) % 2), 0);
      EXPECT_EQ(reg(0x77), 1U << (2 * port));
      chip.advance(60.0);
      EXPECT_EQ(reg(0x10), 0);
    }
  }
}

TEST_F(ChipPort, OfNothingIsAnOpenCircuitAndNothingIsCounted) {
  switchOn();
  chip.advance(10.0);
  for (unsigned port = 0; port < 4; ++port) {
    EXPECT_EQ(reg(0x0C + port), 6);
  }
  for (unsigned counter = 0x77; counter <= 0x7C; ++counter) {
    EXPECT_EQ(reg(counter), 0);
  }
}

TEST_F(ChipPort, WithAGoodDeviceIsDetectedClassifiedAndPowered) {
  for (unsigned port = 0; port < 4; ++port) {
    chip = ChipModel();
    switchOn();
    insert(port, {Signature::Good, 2, 5.0});
    EXPECT_EQ(reg(0x0C + port), 0x24);
    EXPECT_EQ(reg(0x10), 0x11U << port);
    EXPECT_TRUE(shows({{0x75, 0}, {0x76, 0}}));
  }
}

TEST_F(ChipPort, GoesThroughTheStepsOneAfterTheOther) {
  chip.plug(0, {Signature::Good, 1, 3.0});
  switchOn();
  chip.advance(0.149);
  EXPECT_EQ(reg(0x0C), 0x00);
  chip.advance(0.002);
  EXPECT_EQ(reg(0x0C), 0x04);
  chip.advance(0.100);
  EXPECT_TRUE(shows({{0x0C, 0x14}, {0x10, 0x00}}));
  chip.advance(0.050);
  EXPECT_EQ(reg(0x10), 0x11);
}

TEST_F(ChipPort, ShowsTheCodeOfEachClass) {
  const unsigned codes[] = {6, 1, 2, 3, 4};
  for (unsigned pdClass = 0; pdClass < std::size(codes); ++pdClass) {
    chip = ChipModel();
    switchOn();
    insert(0, {Signature::Good, pdClass, 2.0});
    EXPECT_EQ(reg(0x0C) >> 4, codes[pdClass]) << "class " << pdClass;
  }
}

TEST_F(ChipPort, LackingAnEnableIsOffAndGoesOffWhenPowered) {
  struct Row {
    const char* lacks;
    std::uint8_t mode;
    std::uint8_t enables;
  };
  const Row rows[] = {{"mode 3, in mode 0", 0xF3, 0xFF},
                      {"mode 3, in mode 1", 0xF7, 0xFF},
                      {"mode 3, in mode 2", 0xFB, 0xFF},
                      {"detection", 0xFF, 0xFD},
                      {"classification", 0xFF, 0xDF}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.lacks);
    chip = ChipModel();
    chip.plug(1, {});
    write(0x12, row.mode);
    write(0x14, row.enables);
    chip.advance(10.0);
    EXPECT_TRUE(shows({{0x0D, 0}, {0x10, 0}}));

    switchOn();
    chip.advance(LONG_ENOUGH);
    ASSERT_EQ(reg(0x10), 0x22);
    write(0x12, row.mode);
    write(0x14, row.enables);
    EXPECT_TRUE(shows({{0x0D, 0}, {0x10, 0}}));
    EXPECT_EQ(word(0x34), 0U);
    EXPECT_EQ(word(0x36), 0U);
    EXPECT_TRUE(shows({{0x93, 0}, {0x96, 0}}));
    EXPECT_EQ(reg(0x7A), 0) << "switching off is no under-load";
  }
}

TEST_F(ChipPort, UnpluggedWhilePoweredCountsUnderLoadAndIsOpen) {
  switchOn();
  insert(2);
  ASSERT_EQ(reg(0x10), 0x44);
  chip.unplug(2);
  EXPECT_TRUE(shows({{0x0E, 6}, {0x10, 0}, {0x96, 0}, {0x7A, 0x10}}));
  chip.advance(10.0);
  EXPECT_TRUE(shows({{0x0E, 6}, {0x7A, 0x10}}));
}

TEST_F(ChipPort, UnpluggedBeforeItIsPoweredCountsNothing) {
  chip.plug(2, {});
  switchOn();
  chip.advance(0.2);
  chip.unplug(2);
  chip.advance(1.0);
  EXPECT_TRUE(shows({{0x0E, 6}, {0x7A, 0}}));
}

TEST_F(ChipPort, ShortedWhilePoweredCountsAShortAndIsOff) {
  switchOn();
  insert(3);
  ASSERT_EQ(reg(0x10), 0x88);
  chip.plug(3, {Signature::Short, 0, 0.0});
  EXPECT_TRUE(shows({{0x10, 0}, {0x7B, 0x40}, {0x7A, 0}}));
  chip.advance(LONG_ENOUGH);
  EXPECT_EQ(reg(0x0F), 1);
}

TEST_F(ChipPort, TakesUpADeviceThatReplacesABadOneAtOnce) {
  chip.plug(0, {Signature::ResistanceTooLow, 0, 0.0});
  switchOn();
  chip.advance(0.2);
  ASSERT_EQ(reg(0x75), 0x08);
  insert(0);
  EXPECT_TRUE(shows({{0x10, 0x11}, {0x75, 0}}));
}

TEST_F(ChipPort, ThatIsResetStartsOverAloneAndKeepsItsConfiguration) {
  chip.plug(0, {});
  switchOn();
  insert(1);
  ASSERT_EQ(reg(0x10), 0x33);
  write(0x1A, 0x02);
  EXPECT_TRUE(shows({{0x10, 0x11}, {0x0D, 0}, {0x12, 0xFF}}));
  chip.advance(LONG_ENOUGH);
  EXPECT_EQ(reg(0x10), 0x33);
}

TEST_F(ChipMeasurement, OfThePortsHasItsOwnRegistersAndIsSummedUp) {
  for (unsigned port = 0; port < 4; ++port) {
    chip.plug(port, {Signature::Good, 0, 2.0 + 3.0 * port});
  }
  switchOn();
  chip.advance(LONG_ENOUGH);
  for (unsigned port = 0; port < 4; ++port) {
    EXPECT_EQ(reg(0x92 + port), 2 + 3 * port);
    EXPECT_NEAR(word(0x32 + 4 * port) * 0.005835, 54.0, 0.01);
    EXPECT_NEAR(word(0x30 + 4 * port) * 0.00012207, (2.0 + 3.0 * port) / 54.0, 0.0001);
  }
  EXPECT_EQ(reg(0x96), 2 + 5 + 8 + 11);
}

TEST_F(ChipMeasurement, FollowsTheDraw) {
  switchOn();
  insert(0, {Signature::Good, 0, 5.0});
  chip.draw(0, 11.0);
  EXPECT_TRUE(shows({{0x92, 11}, {0x96, 11}}));
  chip.draw(0, 0.0);
  EXPECT_EQ(reg(0x92), 0);
  EXPECT_EQ(word(0x30), 0U);
}

TEST_F(ChipMeasurement, OfTheMainVoltageIs540DeciVolts) {
  EXPECT_NEAR(word(0x71) * 5.835 / 100.0, 540.0, 0.1);
}

TEST_F(ChipEnvironment, ReadsBackEveryWholeDegreeThatTheRegisterCanHold) {
  for (int degrees = -27; degrees <= 217; ++degrees) {
    chip.temperature(degrees);
    EXPECT_EQ(static_cast<int>(reg(0x70) * 0.96) - 27, degrees);
  }
  chip.temperature(1000.0);
  EXPECT_EQ(reg(0x70), 0xFF);
  chip.temperature(-273.0);
  EXPECT_EQ(reg(0x70), 0);
}

TEST_F(ChipEnvironment, ThermalShutdownTurnsAllPortsOffUntilItEnds) {
  chip.plug(0, {});
  switchOn();
  insert(3);
  ASSERT_EQ(reg(0x10), 0x99);
  chip.thermalShutdown(true);
  EXPECT_TRUE(shows({{0x42, 0x80}, {0x10, 0}}));
  chip.advance(5.0);
  EXPECT_EQ(reg(0x10), 0);
  chip.thermalShutdown(false);
  EXPECT_EQ(reg(0x42), 0);
  chip.advance(LONG_ENOUGH);
  EXPECT_EQ(reg(0x10), 0x99);
}

TEST_F(ChipPowerCycle, BringsBackAllPowerOnValuesAndKeepsWhatIsPlugged) {
  const ChipModel fresh;
  chip.plug(0, {});
  chip.plug(1, {Signature::Short, 0, 0.0});
  switchOn();
  write(0x90, 0);
  write(0xA0, 0x55);
  chip.advance(LONG_ENOUGH);
  chip.powerCycle();
  for (unsigned address = 0; address <= 0xCE; ++address) {
    EXPECT_EQ(reg(address), fresh.reg(static_cast<std::uint8_t>(address))) << address;
  }
  chip.advance(5.0);
  EXPECT_EQ(reg(0x0C), 0);
  switchOn();
  chip.advance(LONG_ENOUGH);
  EXPECT_EQ(reg(0x10), 0x11);
}

} // namespace
