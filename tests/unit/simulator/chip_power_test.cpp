// The chip model's power management.
#include "tests/unit/simulator/chip_test.h"

#include <iterator>

namespace {

// All ports on, each with a limit of 40 W, in a bank of 100 W.
class ChipPower : public ChipTest {
protected:
  ChipPower() {
    write(0x89, 100);
    for (unsigned port = 0; port < 4; ++port) {
      write(0x81 + port, 40);
    }
    write(0x44, 0x0F);
    switchOn();
  }
  void plug(unsigned port, unsigned pdClass, double watts) {
    insert(port, {Signature::Good, pdClass, watts});
  }
};

TEST_F(ChipPower, IsDeniedAboveThePortLimitAndGrantedOnARetryWhenTheLimitIsRaised) {
  write(0x81, 9);
  plug(0, 0, 10.0);
  EXPECT_EQ(reg(0x0C), 0x64) << "good, class 0";
  EXPECT_TRUE(shows({{0x10, 0}, {0x78, 1}, {0x79, 0}}));
  write(0x81, 10);
  chip.advance(2.0);
  EXPECT_TRUE(shows({{0x10, 0x11}, {0x78, 1}}));
}

TEST_F(ChipPower, IsTriedAgainAndDeniedAgainWithTheStatusUnchanged) {
  write(0x81, 9);
  plug(0, 3, 10.0);
  ASSERT_EQ(reg(0x78), 1);
  for (int i = 0; i < 100; ++i) {
    chip.advance(0.01);
    EXPECT_EQ(reg(0x0C), 0x34);
  }
  chip.advance(0.3);
  EXPECT_EQ(reg(0x78), 2);
}

TEST_F(ChipPower, UsesTheLowSixBitsOfThePortLimit) {
  write(0x81, 0xC0 | 9);
  plug(0, 0, 10.0);
  EXPECT_EQ(reg(0x10), 0);
}

TEST_F(ChipPower, IsGrantedUpToTheLimitOfTheClassOnly) {
  const double limits[] = {15.4, 4.0, 7.0, 15.4, 36.0};
  for (unsigned pdClass = 0; pdClass < std::size(limits); ++pdClass) {
    chip.unplug(0);
    chip.unplug(1);
    const unsigned before = reg(0x78);
    plug(0, pdClass, limits[pdClass]);
    plug(1, pdClass, limits[pdClass] + 0.1);
    EXPECT_EQ(reg(0x10), 0x11) << "class " << pdClass;
    EXPECT_NE(reg(0x78) & 0x0C, before & 0x0C) << "class " << pdClass;
  }
}

TEST_F(ChipPower, OfClass4NeedsHighPowerForMoreThanClass3) {
  write(0x44, 0x0E);
  plug(0, 4, 20.0);
  plug(1, 4, 20.0);
  EXPECT_EQ(reg(0x10), 0x22);
}

TEST_F(ChipPower, IsDeniedWhenTheBankHasNotEnoughLeft) {
  write(0x89, 25);
  plug(0, 3, 12.0);
  plug(1, 3, 13.0);
  plug(2, 3, 1.0);
  EXPECT_TRUE(shows({{0x10, 0x33}, {0x78, 0x10}, {0x96, 25}}));
}

TEST_F(ChipPower, OfABankOfZeroWattsIsNone) {
  write(0x89, 0);
  plug(0, 0, 5.0);
  EXPECT_TRUE(shows({{0x10, 0}, {0x78, 1}}));
}

TEST_F(ChipPower, ComesFromTheActiveBankOfEight) {
  write(0x8B, 4);
  chip.activeBank(2);
  EXPECT_EQ(reg(0x91), 2U << 3);
  plug(0, 0, 5.0);
  EXPECT_EQ(reg(0x10), 0);
  chip.activeBank(8); // bank 0 again
  chip.advance(2.0);
  EXPECT_EQ(reg(0x10), 0x11);
}

TEST_F(ChipPower, DrawnAboveThePortLimitIsAnOverloadThatIsTriedAgain) {
  write(0x82, 10);
  plug(1, 0, 8.0);
  chip.draw(1, 11.0);
  EXPECT_TRUE(shows({{0x10, 0}, {0x93, 0}, {0x79, 0x04}, {0x78, 0}}));
  chip.draw(1, 8.0);
  chip.advance(2.0);
  EXPECT_TRUE(shows({{0x10, 0x22}, {0x79, 0x04}}));
}

TEST_F(ChipPower, AboveALimitThatIsLoweredIsAnOverload) {
  plug(0, 0, 8.0);
  write(0x81, 7);
  EXPECT_TRUE(shows({{0x10, 0}, {0x79, 1}}));
}

TEST_F(ChipPower, AboveALoweredBankLimitIsCutFromTheLeastImportantPorts) {
  write(0x80, 0x24); // priorities of the ports 0..3: 0, 1, 2, 0
  for (unsigned port = 0; port < 4; ++port) {
    plug(port, 0, 10.0);
  }
  ASSERT_EQ(reg(0x10), 0xFF);
  write(0x89, 39);
  EXPECT_TRUE(shows({{0x10, 0xBB}, {0x78, 0x10}}));
  write(0x89, 29);
  EXPECT_EQ(reg(0x10), 0x99);
  write(0x89, 19);
  EXPECT_EQ(reg(0x10), 0x11) << "of equal priority, the higher port goes first";
  write(0x89, 0);
  EXPECT_TRUE(shows({{0x10, 0}, {0x96, 0}, {0x78, 0x55}}));
}

TEST_F(ChipPower, AboveTheLimitOfABankThatBecomesActiveIsCut) {
  write(0x8A, 4);
  plug(0, 0, 5.0);
  chip.activeBank(1);
  EXPECT_TRUE(shows({{0x10, 0}, {0x78, 1}}));
  chip.powerCycle();
  EXPECT_EQ(reg(0x91), 1U << 3) << "the bank is chosen outside the chip";
}

TEST_F(ChipPower, IsTakenFromALowerPriorityForAHigherOne) {
  write(0x80, 0x06); // priorities of the ports 0..3: 2, 1, 0, 0
  write(0x89, 25);
  plug(0, 0, 10.0);
  plug(1, 0, 10.0);
  plug(2, 0, 12.0);
  EXPECT_EQ(reg(0x10), 0x66) << "of the lowest priority first, and no more than needed";
  EXPECT_EQ(reg(0x78), 0x01);
  chip.advance(2.0);
  EXPECT_EQ(reg(0x10), 0x66);
  EXPECT_NE(reg(0x78), 0x01) << "the port that was cut is tried again and denied";
  chip.unplug(2);
  chip.advance(2.0);
  EXPECT_EQ(reg(0x10), 0x33);
}

TEST_F(ChipPower, IsTakenFromSeveralPortsIfOneIsNotEnough) {
  write(0x80, 0x15); // priorities of the ports 0..3: 1, 1, 1, 0
  write(0x89, 30);
  for (unsigned port = 0; port < 4; ++port) {
    plug(port, 0, port == 3 ? 15.0 : 10.0);
  }
  EXPECT_EQ(reg(0x10), 0x99) << "of equal priority, the higher port goes first";
  EXPECT_EQ(reg(0x78), 0x14);
}

TEST_F(ChipPower, IsNotTakenFromAnEqualPriority) {
  write(0x80, 0x00);
  write(0x89, 19);
  plug(1, 0, 10.0);
  plug(0, 0, 10.0);
  EXPECT_TRUE(shows({{0x10, 0x22}, {0x78, 0x01}}));
}

TEST_F(ChipPower, IsNotTakenFromAnybodyIfThatIsNotEnough) {
  write(0x80, 0x04); // priorities of the ports 0..3: 0, 1, 0, 0
  write(0x89, 20);
  plug(0, 0, 12.0);
  plug(1, 0, 5.0);
  plug(2, 0, 10.0);
  EXPECT_TRUE(shows({{0x10, 0x33}, {0x78, 0x10}}));
}

TEST_F(ChipPower, ThatIsTakenIsTriedAgainAFullSecondLater) {
  write(0x80, 0x40); // port 3 has the lowest priority
  write(0x89, 15);
  plug(3, 0, 10.0);
  chip.plug(0, {Signature::Good, 0, 10.0});
  chip.advance(0.301); // cut 1 ms ago
  ASSERT_EQ(reg(0x78), 0x40);
  chip.advance(1.298); // and tried again for 0.3 s
  EXPECT_EQ(reg(0x78), 0x40);
  chip.advance(0.002);
  EXPECT_EQ(reg(0x78), 0x80);
}

} // namespace
