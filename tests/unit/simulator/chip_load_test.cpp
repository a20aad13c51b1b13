// The chip model: taking over an image of the registers.
#include "tests/unit/simulator/chip_test.h"

namespace {

RegisterImage imageOf(const ChipModel& chip) {
  RegisterImage image;
  for (std::size_t address = 0; address < image.size(); ++address) {
    image.at(address) = chip.reg(static_cast<std::uint8_t>(address));
  }
  return image;
}

class ChipLoad : public ChipTest {
protected:
  void powerOriginal() {
    original.write(0x12, 0xFF);
    original.write(0x14, 0xFF);
    original.write(0x44, 0x0F);
    original.write(0x81, 0x3F);
    original.advance(LONG_ENOUGH);
  }

  ChipModel original; // whose image `chip` loads
};

TEST_F(ChipLoad, PutsEveryValueInPastAllAccessRules) {
  RegisterImage image;
  for (std::size_t address = 0; address < image.size(); ++address) {
    image.at(address) = static_cast<std::uint8_t>(7 * address + 3);
  }
  chip.load(image);
  EXPECT_EQ(imageOf(chip), image);
}

TEST_F(ChipLoad, LeavesRegistersThatTheImageHasNoValueOf) {
  RegisterImage expected = imageOf(chip);
  RegisterImage image;
  image.at(0x89) = std::uint8_t{77};
  expected.at(0x89) = std::uint8_t{77};
  chip.load(image);
  EXPECT_EQ(imageOf(chip), expected);
}

TEST_F(ChipLoad, TakesUpDevicesWithClassAndDraw) {
  original.plug(0, {Signature::Good, 4, 22.0});
  original.plug(1, {Signature::Good, 2, 7.0}); // all that its class may draw
  original.plug(2, {Signature::ResistanceTooLow, 0, 0.0});
  powerOriginal();
  ASSERT_EQ(original.reg(0x10), 0x33);

  chip.load(imageOf(original));
  chip.advance(LONG_ENOUGH);
  EXPECT_EQ(imageOf(chip), imageOf(original)) << "nothing happens to what has power";
  chip.advance(5.0);
  EXPECT_EQ(chip.device(0).pdClass, 4U);
  EXPECT_NEAR(chip.device(0).watts, 22.0, 0.02);
  EXPECT_EQ(chip.phase(0), Phase::Delivering);
  EXPECT_EQ(chip.device(1).pdClass, 2U);
  EXPECT_EQ(chip.phase(1), Phase::Delivering);
  EXPECT_EQ(chip.device(2).signature, Signature::ResistanceTooLow);
  EXPECT_EQ(chip.device(3).signature, Signature::OpenCircuit);
  EXPECT_TRUE(shows({{0x10, 0x33}, {0x79, 0}, {0x0E, 0x03}, {0x0F, 0x06}}));
}

TEST_F(ChipLoad, TakesUpDevicesThatArePoweredAnewAfterAPowerCycle) {
  original.plug(0, {Signature::Good, 3, 9.0});
  powerOriginal();

  chip.load(imageOf(original));
  chip.powerCycle();
  EXPECT_EQ(reg(0x10), 0);
  switchOn();
  chip.advance(LONG_ENOUGH);
  EXPECT_TRUE(shows({{0x10, 0x11}, {0x92, 9}}));
}

TEST_F(ChipLoad, TakesAGoodDeviceWithoutPowerForOneOf5Watts) {
  RegisterImage image;
  image.at(0x0C) = std::uint8_t{0x34};
  chip.load(image);
  EXPECT_EQ(chip.device(0).watts, 5.0);
  EXPECT_EQ(chip.device(0).pdClass, 3U);
}

TEST_F(ChipLoad, TakesUpTheClassOfEachCode) {
  constexpr unsigned CLASSES[] = {0, 1, 2, 3, 4, 0, 0, 0};
  for (unsigned code = 0; code < 8; ++code) {
    chip = ChipModel();
    RegisterImage image;
    image.at(0x0C) = static_cast<std::uint8_t>(0x88U | code << 4 | 4U); // no meaning: bits 3 and 7
    chip.load(image);
    EXPECT_EQ(chip.device(0).pdClass, CLASSES[code]) << code;
  }
}

TEST_F(ChipLoad, ForgetsThePhasesThatWereBefore) {
  switchOn();
  insert(0);
  ASSERT_EQ(chip.phase(0), Phase::Delivering);
  chip.load(imageOf(ChipModel()));
  EXPECT_EQ(chip.phase(0), Phase::Off);
  EXPECT_EQ(chip.device(0).signature, Signature::OpenCircuit);
}

TEST_F(ChipLoad, TakesUpFaultsSupplyTemperatureShutdownAndBank) {
  original.fault(1, Fault::Fet);
  original.fault(2, Fault::OverTemperature);
  original.supply(48.0);
  original.temperature(71.0);
  original.thermalShutdown(true);
  original.activeBank(5);

  chip.load(imageOf(original));
  EXPECT_EQ(chip.fault(1), Fault::Fet);
  EXPECT_EQ(chip.fault(2), Fault::OverTemperature);
  EXPECT_NEAR(chip.supply(), 48.0, 0.003);
  EXPECT_EQ(chip.temperature(), 71.0);
  EXPECT_TRUE(chip.thermalShutdown());
  EXPECT_EQ(chip.activeBank(), 5U);
  chip.powerCycle();
  EXPECT_EQ(reg(0x91), 5U << 3);
  EXPECT_EQ(reg(0x70), original.reg(0x70));
}

} // namespace
