// Which transfers fail.
#include "simulator/bus/bus_faults.h"

#include <gtest/gtest.h>

namespace {

// One character for each of `count` transfers on register 0x10: F for one that fails.
std::string transfers(BusFaults& bus, int count) {
  std::string result;
  for (int i = 0; i < count; ++i) {
    result += bus.fails(0x10) ? 'F' : '.';
  }
  return result;
}

TEST(BusFaults, AreNoneAtFirst) {
  BusFaults bus;
  EXPECT_EQ(bus.text(), "ok");
  EXPECT_EQ(transfers(bus, 5), ".....");
}

TEST(BusFaults, OfADeadBusAreAllTransfersUntilItIsWell) {
  BusFaults bus;
  bus.dead();
  EXPECT_EQ(bus.text(), "dead");
  EXPECT_EQ(transfers(bus, 5), "FFFFF");
  bus.none();
  EXPECT_EQ(transfers(bus, 5), ".....");
}

TEST(BusFaults, OfTheNextAreThatManyAndThenNoMore) {
  BusFaults bus;
  bus.next(3);
  EXPECT_EQ(bus.text(), "fail 3");
  EXPECT_EQ(transfers(bus, 2), "FF");
  EXPECT_EQ(bus.text(), "fail 1");
  EXPECT_EQ(transfers(bus, 4), "F...");
  EXPECT_EQ(bus.text(), "ok");
}

TEST(BusFaults, OfEveryNthAreEachNthCountedFromNowOn) {
  BusFaults bus;
  bus.every(3);
  EXPECT_EQ(transfers(bus, 10), "..F..F..F.");
  bus.every(3);
  EXPECT_EQ(transfers(bus, 3), "..F");
  EXPECT_EQ(bus.text(), "every 3");
  bus.every(1);
  EXPECT_EQ(transfers(bus, 3), "FFF");
}

TEST(BusFaults, OfARegisterAreThoseOnItAlone) {
  BusFaults bus;
  bus.onRegister(0x43);
  EXPECT_EQ(bus.text(), "register 0x43");
  for (int i = 0; i < 3; ++i) {
    EXPECT_TRUE(bus.fails(0x43));
    EXPECT_FALSE(bus.fails(0x42));
  }
  bus.onRegister(0x00);
  EXPECT_TRUE(bus.fails(0x00));
  EXPECT_FALSE(bus.fails(0x43)) << "a new fault takes the place of the old";
}

} // namespace
