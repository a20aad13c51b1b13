// The driver object and its three register operations.
#include "tests/unit/service/driver_fixture.h"

#include <climits>

namespace {

class DriverConstruction : public StrictLogTest {
protected:
  RegisterFile registers;
  I2cBus bus{registers};
};

TEST_F(DriverConstruction, OpensTheAdapterAndBindsTheChipAddress) {
  CPD69104 driver(3, 0x2C);
  EXPECT_EQ(bus.opened, std::vector<std::string>{"/dev/i2c-3"});
  EXPECT_EQ(bus.bound, std::vector<unsigned>{0x2C});
  EXPECT_EQ(infoOf(driver), driverInfo("IDLE", "FALSE", 0, "31249", "3"));
  EXPECT_EQ(bus.transferCount(), 0U);
}

TEST_F(DriverConstruction, TakesAnyNegativeDescriptorAsAFailedOpen) {
  errno = EACCES;
  bus.openResult = -2;
  CPD69104 driver(0, 0x20);
  EXPECT_EQ(takeLog(), driverError(294, "Cannot open I2C driver /dev/i2c-0: Permission denied\n"));
  EXPECT_TRUE(bus.bound.empty());
  EXPECT_EQ(infoOf(driver), driverInfo("IDLE", "TRUE", 1, "-2"));
}

TEST_F(DriverConstruction, TakesDescriptorZeroAsAGoodOpen) {
  bus.openResult = 0; // of a process that was started without standard input
  {
    CPD69104 driver(0, 0x20);
    EXPECT_EQ(bus.bound, std::vector<unsigned>{0x20});
    EXPECT_EQ(infoOf(driver), driverInfo("IDLE", "FALSE", 0, "0"));
  }
  EXPECT_EQ(bus.closed, std::vector<int>{0});
}

TEST_F(DriverConstruction, WithoutAnAdapterTransfersFailSilently) {
  bus.openErrors = {ENOENT};
  CPD69104 driver(0, 0x20);
  takeLog();
  unsigned value = 7;
  EXPECT_FALSE(driver.PoeReadReg(0x43, &value));
  EXPECT_FALSE(driver.PoeReadReg16(0x71, &value));
  EXPECT_FALSE(driver.PoeWriteReg(0x12, 0));
  EXPECT_EQ(value, 7U);
  EXPECT_EQ(infoOf(driver), driverInfo("IDLE", "TRUE", 1, "-1"));
}

TEST_F(DriverConstruction, CutsALongDevicePathAtNineteenCharacters) {
  bus.openErrors = {ENODEV};
  CPD69104 driver(INT_MIN, 0x20);
  EXPECT_EQ(bus.opened, std::vector<std::string>{"/dev/i2c--214748364"});
  EXPECT_EQ(takeLog(), driverError(294, "Cannot open I2C driver /dev/i2c--214748364: No such device\n"));
}

using PoeWriteReg = DriverTest;

TEST_F(PoeWriteReg, TakesAPositiveResultAsSuccess) {
  bus.results[0] = 1;
  EXPECT_TRUE(driver.PoeWriteReg(0x12, 1));
  EXPECT_EQ(infoOf(driver), driverInfo("IDLE", "FALSE", 0));
}

using PoeReadReg = DriverTest;

TEST_F(PoeReadReg, TakesAPositiveResultAsAFailure) {
  registers[0x70] = 0x33;
  bus.results[0] = 1;
  unsigned value = 5;
  EXPECT_FALSE(driver.PoeReadReg(0x70, &value));
  EXPECT_EQ(value, 5U);
  EXPECT_EQ(takeLog(), readFailure(2215, "70"));
}

using PoeReadReg16 = DriverTest;

TEST_F(PoeReadReg16, TakesAPositiveResultOfEitherByteAsAFailure) {
  unsigned value = 5;
  bus.results[0] = 1;
  EXPECT_FALSE(driver.PoeReadReg16(0x71, &value));
  bus.results = {{3, 1}};
  EXPECT_FALSE(driver.PoeReadReg16(0x71, &value));
  EXPECT_EQ(value, 5U);
  EXPECT_EQ(takeLog(), readFailure(2278, "71"));
}

using SetPoeError = DriverTest;

TEST_F(SetPoeError, CountsOnlyTheRisingFlagAndNeverRaisesTheMode) {
  makeNormal();
  driver.SetPoeError(false);
  EXPECT_EQ(infoOf(driver), driverInfo("NORMAL", "FALSE", 0));
  driver.SetPoeError(true);
  EXPECT_EQ(infoOf(driver), driverInfo("IDLE", "TRUE", 1));
  driver.SetPoeError(true);
  EXPECT_EQ(infoOf(driver), driverInfo("IDLE", "TRUE", 1));
  driver.SetPoeError(false);
  EXPECT_EQ(infoOf(driver), driverInfo("IDLE", "FALSE", 1));
}

using PoeDriverInfo = DriverTest;

TEST_F(PoeDriverInfo, CutsTheTextAtEverySizeAndTouchesNothingBeyondIt) {
  const std::string whole = driverInfo("IDLE", "FALSE", 0);
  for (int size = 1; size <= static_cast<int>(whole.size()) + 2; size++) {
    std::string buffer(whole.size() + 16, '#');
    EXPECT_TRUE(driver.PoeDriverInfo(buffer.data(), size));
    EXPECT_EQ(buffer.substr(0, buffer.find('\0')), whole.substr(0, static_cast<std::size_t>(size) - 1))
        << size;
    EXPECT_EQ(buffer.find_first_not_of('#', static_cast<std::size_t>(size)), std::string::npos) << size;
  }
}

TEST_F(PoeDriverInfo, EndsTheBufferWithNulAlsoAfterAShorterText) {
  std::string buffer(1000, '#');
  EXPECT_TRUE(driver.PoeDriverInfo(buffer.data(), 900));
  EXPECT_EQ(buffer[899], '\0');
  EXPECT_EQ(buffer[900], '#');
}

TEST_F(PoeDriverInfo, OfNoSizeEndsTheTextAtItsStartAndTouchesNothingElse) {
  for (const int size : {0, -1}) {
    char area[] = {'x', 'x', 'x'};
    EXPECT_TRUE(driver.PoeDriverInfo(area + 1, size));
    EXPECT_EQ(std::string(area, sizeof area), std::string("x\0x", 3)) << size;
  }
}

} // namespace
