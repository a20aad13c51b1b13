// The driver's readers of the chip as a whole and their unit conversions.
#include "tests/unit/service/driver_fixture.h"

#include <sstream>

namespace {

// Compares records by their values; the padding does not count.
std::string valuesOf(const DeviceStatus& d) {
  std::ostringstream out;
  out << d.hwOperationMode << " " << d.dev_error << " " << d.device_errorcount << " " << d.device_id << " "
      << d.device_revision << " " << d.temperature << " " << d.thermal_shutdown;
  return out.str();
}

std::string valuesOf(const PowerStatus& p) {
  std::ostringstream out;
  out << p.power_consumption << " " << p.power_bank << " " << p.power_limit << " " << p.main_voltage << " "
      << p.min_shutdown_voltage;
  return out.str();
}

using PoeGetDeviceStatus = DriverTest;

TEST_F(PoeGetDeviceStatus, ReadsIdRevisionTemperatureAndThermalShutdown) {
  makeNormal();
  registers[0x43] = 0xBD;
  registers[0x70] = 100;
  registers[0x42] = 0x80;
  DeviceStatus status{};
  EXPECT_TRUE(driver.PoeGetDeviceStatus(&status));
  EXPECT_EQ(valuesOf(status), "1 0 0 5 5 69 1");
  EXPECT_EQ(registersOf(bus.takeTransfers()), "R43 R70 R42 ");
}

TEST_F(PoeGetDeviceStatus, TakesOnlyBitSevenAsThermalShutdown) {
  registers[0x42] = 0x7F;
  DeviceStatus status{};
  status.thermal_shutdown = true;
  EXPECT_TRUE(driver.PoeGetDeviceStatus(&status));
  EXPECT_FALSE(status.thermal_shutdown);
}

TEST_F(PoeGetDeviceStatus, ConvertsTheTemperatureByTruncatingBeforeTheOffset) {
  const std::pair<unsigned, int> rows[] = {{0, -27}, {1, -27},  {2, -26},  {28, -1},
                                           {29, 0},  {100, 69}, {255, 217}};
  for (const auto& [raw, celsius] : rows) {
    registers[0x70] = static_cast<std::uint8_t>(raw);
    DeviceStatus status{};
    EXPECT_TRUE(driver.PoeGetDeviceStatus(&status));
    EXPECT_EQ(status.temperature, celsius) << "raw " << raw;
  }
}

using PoeGetPowerBank = DriverTest;

TEST_F(PoeGetPowerBank, ReturnsBitsSixToThree) {
  registers[0x91] = 0xCF;
  unsigned bank = 99;
  EXPECT_TRUE(driver.PoeGetPowerBank(&bank));
  EXPECT_EQ(bank, 9U);
}

TEST_F(PoeGetPowerBank, RejectsAMissingResult) {
  EXPECT_FALSE(driver.PoeGetPowerBank(nullptr));
  EXPECT_EQ(takeLog(), driverError(1522, "NULL pointer parameter\n"));
  EXPECT_EQ(bus.transferCount(), 0U);
}

using PoeGetBankPowerLimit = DriverTest;

TEST_F(PoeGetBankPowerLimit, ReturnsTheRegisterOfTheBank) {
  for (unsigned bank = 0; bank < 8; bank++) {
    registers[0x89 + bank] = static_cast<std::uint8_t>(0xF0 + bank);
    unsigned limit = 0;
    EXPECT_TRUE(driver.PoeGetBankPowerLimit(bank, &limit));
    EXPECT_EQ(limit, 0xF0 + bank);
  }
}

TEST_F(PoeGetBankPowerLimit, RejectsABankAbove7) {
  unsigned limit = 9;
  EXPECT_FALSE(driver.PoeGetBankPowerLimit(8, &limit));
  EXPECT_FALSE(driver.PoeGetBankPowerLimit(0xFFFFFFFF, nullptr));
  EXPECT_EQ(takeLog(),
            driverError(1322, "Range Error [bank=8]\n") + driverError(1322, "Range Error [bank=-1]\n"));
  EXPECT_EQ(bus.transferCount(), 0U);
}

TEST_F(PoeGetBankPowerLimit, LeavesTheCheckOfTheResultToTheRegisterRead) {
  EXPECT_FALSE(driver.PoeGetBankPowerLimit(2, nullptr));
  EXPECT_EQ(takeLog(), driverError(2203, "Range Error [address=0x8b result=0x0]\n"));
}

using PoeGetPmCalculationStatic = DriverTest;

TEST_F(PoeGetPmCalculationStatic, IsTrueWhileBitOneIsClear) {
  bool isStatic = false;
  registers[0x7F] = 0xFD;
  EXPECT_TRUE(driver.PoeGetPmCalculationStatic(&isStatic));
  EXPECT_TRUE(isStatic);
  registers[0x7F] = 0x02;
  EXPECT_TRUE(driver.PoeGetPmCalculationStatic(&isStatic));
  EXPECT_FALSE(isStatic);
}

class PoeGetPowerStatus : public DriverTest {
protected:
  PoeGetPowerStatus() {
    registers[0x96] = 80;
    registers[0x91] = 3 << 3;
    registers[0x8C] = 150;
    set16(0x71, 9254);
    set16(0xCB, 0xF800 | 229);
  }
};

TEST_F(PoeGetPowerStatus, ReadsConsumptionBankItsLimitAndTheVoltagesInOrder) {
  PowerStatus status{};
  EXPECT_TRUE(driver.PoeGetPowerStatus(&status));
  EXPECT_EQ(valuesOf(status), "80 3 150 540 426");
  EXPECT_EQ(registersOf(bus.takeTransfers()), "R96 R91 R8C R71 R72 RCB RCC ");
}

TEST_F(PoeGetPowerStatus, UsesTheLimitOfBankOneForBankNine) {
  registers[0x91] = 9 << 3;
  registers[0x8A] = 42;
  PowerStatus status{};
  EXPECT_TRUE(driver.PoeGetPowerStatus(&status));
  EXPECT_EQ(valuesOf(status), "80 9 42 540 426");
}

TEST_F(PoeGetPowerStatus, ConvertsTheShutdownVoltageFromElevenBits) {
  const std::pair<unsigned, unsigned> rows[] = {{0, 0}, {1, 2}, {0x7FF, 3807}, {0xFFFF, 3807}, {0x800, 0}};
  for (const auto& [raw, deciVolts] : rows) {
    set16(0xCB, raw);
    PowerStatus status{};
    EXPECT_TRUE(driver.PoeGetPowerStatus(&status));
    EXPECT_EQ(status.min_shutdown_voltage, deciVolts) << "raw " << raw;
  }
}

TEST_F(PoeGetPowerStatus, RejectsAMissingRecord) {
  EXPECT_FALSE(driver.PoeGetPowerStatus(nullptr));
  EXPECT_EQ(takeLog(), driverError(1364, "NULL pointer parameter\n"));
  EXPECT_EQ(bus.transferCount(), 0U);
}

} // namespace
