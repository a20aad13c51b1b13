// The driver's readers: the place of each flag, the conversions of units, and what they reject. That each
// reads its registers in order, and what it leaves when a transfer fails, is compared with the model in
// driver_faults_test.cpp.
#include "tests/unit/service/driver_fixture.h"

#include <cmath>
#include <functional>
#include <sstream>

namespace {

// Compares records by their values; the padding does not count.
std::string valuesOf(const ChannelStatus& s) {
  std::ostringstream out;
  out << s.enable << s.power_good << " " << s.det_status << " " << s.pclass << " " << s.fet_error
      << s.mosfet_overtemperature << s.in_pm_mode << s.passed_MSCC_cap_det << s.det_fail;
  return out.str();
}

std::string valuesOf(const PowerStatus& p) {
  std::ostringstream out;
  out << p.power_consumption << " " << p.power_bank << " " << p.power_limit << " " << p.main_voltage << " "
      << p.min_shutdown_voltage;
  return out.str();
}

using DriverReaders = DriverTest;

TEST_F(DriverReaders, TakeEachFlagOfAPortFromItsBit) {
  struct Row {
    unsigned reg;
    unsigned value;
    unsigned port;
    const char* expected;
  };
  const Row rows[] = {
      {0x10, 0x01, 0, "10 0 0 00000"}, {0x10, 0x10, 0, "01 0 0 00000"}, {0x10, 0x08, 3, "10 0 0 00000"},
      {0x10, 0x80, 3, "01 0 0 00000"}, {0x10, 0x7F, 3, "10 0 0 00000"}, {0x0C, 0x07, 0, "00 7 0 00000"},
      {0x0C, 0x70, 0, "00 0 7 00000"}, {0x0D, 0x88, 1, "00 0 0 00000"}, {0x0E, 0x24, 2, "00 4 2 00000"},
      {0x0F, 0x66, 3, "00 6 6 00000"}, {0x49, 0x02, 0, "00 0 0 10000"}, {0x49, 0xFD, 0, "00 0 0 00000"},
      {0x58, 0xFF, 3, "00 0 0 10000"}, {0x75, 0x01, 0, "00 0 0 01000"}, {0x75, 0x02, 0, "00 0 0 00100"},
      {0x75, 0x04, 0, "00 0 0 00010"}, {0x75, 0x08, 0, "00 0 0 00001"}, {0x75, 0x10, 1, "00 0 0 01000"},
      {0x75, 0x80, 1, "00 0 0 00001"}, {0x75, 0xF0, 0, "00 0 0 00000"}, {0x76, 0x04, 2, "00 0 0 00010"},
      {0x76, 0x20, 3, "00 0 0 00100"}, {0x76, 0x0F, 3, "00 0 0 00000"},
  };
  for (const Row& row : rows) {
    registers[row.reg] = static_cast<std::uint8_t>(row.value);
    ChannelStatus status{};
    EXPECT_TRUE(driver.PoeGetChannelStatus(row.port, &status));
    EXPECT_EQ(valuesOf(status), row.expected) << std::hex << row.reg << " holds " << row.value;
    registers[row.reg] = 0;
  }
}

TEST_F(DriverReaders, RoundEveryValueThatTheMeasurementsCanHoldToTheNearest) {
  for (unsigned raw = 0; raw <= 0xFFFF; raw++) {
    for (const unsigned reg : {0x71U, 0x36U, 0x34U, 0xCBU}) {
      set16(reg, raw);
    }
    PortMeasurements measurements{};
    PowerStatus power{};
    EXPECT_TRUE(driver.PoeGetMeasurements(1, &measurements));
    EXPECT_TRUE(driver.PoeGetPowerStatus(&power));
    ASSERT_EQ(measurements.main_voltage, std::lround(raw * 5.835 / 100)) << raw;
    ASSERT_EQ(measurements.port_voltage, std::lround(raw * 5.835 / 100)) << raw;
    ASSERT_EQ(measurements.port_current, std::lround(raw * 122.07 / 1000)) << raw;
    ASSERT_EQ(power.min_shutdown_voltage, std::lround((raw & 0x7FF) * 0.186 * 10)) << raw;
  }
}

TEST_F(DriverReaders, WriteTheCountsOfFourPortsAndNothingBeyondThem) {
  struct {
    ChannelCounts counts;
    PortCounts beyond;
  } record{{}, {77, 77, 77, 77, 77, 77}};
  for (unsigned k = 0; k < 6; k++) {
    registers[0x77 + k] = 0xE4; // port p: p events
  }
  EXPECT_TRUE(driver.PoeGetChannelCounts(&record.counts));
  EXPECT_EQ(std::as_const(record.counts)[3].invalidSignatureCount, 3U);
  const PortCounts& beyond = record.beyond;
  EXPECT_EQ(beyond.invalidSignatureCount + beyond.powerDeniedCount + beyond.overLoadCount +
                beyond.underLoadCount + beyond.shortCount + beyond.classErrorCount,
            6 * 77U);
}

TEST_F(DriverReaders, ConvertTheTemperatureByTruncatingBeforeTheOffset) {
  const std::pair<unsigned, int> rows[] = {{0, -27}, {1, -27},  {2, -26},  {28, -1},
                                           {29, 0},  {100, 69}, {255, 217}};
  for (const auto& [raw, celsius] : rows) {
    registers[0x70] = static_cast<std::uint8_t>(raw);
    registers[0x42] = 0x7F;
    DeviceStatus status{};
    status.thermal_shutdown = true;
    EXPECT_TRUE(driver.PoeGetDeviceStatus(&status));
    EXPECT_EQ(status.temperature, celsius) << "raw " << raw;
    EXPECT_FALSE(status.thermal_shutdown) << "only bit 7 is the thermal shutdown";
  }
}

TEST_F(DriverReaders, TakeTheLimitOfTheBankThatIsActive) {
  registers[0x96] = 80;
  registers[0x8A] = 42;
  registers[0x8C] = 150;
  set16(0x71, 9254);
  const std::pair<unsigned, const char*> rows[] = {
      {0x80 | 3 << 3 | 7, "80 3 150 540 426"}, {9 << 3, "80 9 42 540 426"}}; // bank 9 has the limit of bank 1
  set16(0xCB, 0xF800 | 229);
  for (const auto& [bank, expected] : rows) {
    registers[0x91] = static_cast<std::uint8_t>(bank);
    PowerStatus status{};
    EXPECT_TRUE(driver.PoeGetPowerStatus(&status));
    EXPECT_EQ(valuesOf(status), expected);
  }
}

TEST_F(DriverReaders, RejectABadArgumentWithItsReportAndWithoutATransfer) {
  unsigned number = 9;
  ChannelStatus channel{};
  PortMeasurements measurements{};
  PortPowerLimits limits{};
  struct Row {
    std::function<bool()> read;
    int line;
    std::string message;
  };
  const Row rows[] = {
      {[&] { return driver.PoeGetChannelStatus(4, &channel); }, 1684,
       "Range Error [channel=4:4 channel_status=" + bits(&channel) + "]\n"},
      {[&] { return driver.PoeGetChannelStatus(127, &channel); }, 1684,
       "Range Error [channel=4:127 channel_status=" + bits(&channel) + "]\n"},
      {[&] { return driver.PoeGetChannelStatus(3, nullptr); }, 1684,
       "Range Error [channel=4:3 channel_status=0x0]\n"},
      {[&] { return driver.PoeGetChannelCounts(nullptr); }, 2027, "Range Error [channel_counts=0x0]\n"},
      {[&] { return driver.PoeGetMeasurements(4, &measurements); }, 1943,
       "Range Error [channel=4:4 measurements=" + bits(&measurements) + "]\n"},
      {[&] { return driver.PoeGetMeasurements(0, nullptr); }, 1943,
       "Range Error [channel=0:4 measurements=0x0]\n"},
      {[&] { return driver.PoeGetPortPriority(4, &number); }, 1885,
       "Range Error [channel=4:4 priority=" + bits(&number) + "]\n"},
      {[&] { return driver.PoeGetPortPriority(1, nullptr); }, 1885,
       "Range Error [channel=4:1 priority=0x0]\n"},
      {[&] { return driver.PoeGetPortPowerLimit(4, &limits); }, 1820,
       "Range Error [channel=4:4 power_limit=" + bits(&limits) + "]\n"},
      {[&] { return driver.PoeGetPortPowerLimit(2, nullptr); }, 1820,
       "Range Error [channel=4:2 power_limit=0x0]\n"},
      {[&] { return driver.PoeGetPortMode(4, &number); }, 1628, "Range Error [4:4]\n"},
      {[&] { return driver.PoeGetPortMode(127, &number); }, 1628, "Range Error [4:127]\n"},
      {[&] { return driver.PoeGetPowerBank(nullptr); }, 1522, "NULL pointer parameter\n"},
      {[&] { return driver.PoeGetBankPowerLimit(8, &number); }, 1322, "Range Error [bank=8]\n"},
      {[&] { return driver.PoeGetBankPowerLimit(~0U, nullptr); }, 1322, "Range Error [bank=-1]\n"},
      // The register read checks the result.
      {[&] { return driver.PoeGetBankPowerLimit(2, nullptr); }, 2203,
       "Range Error [address=0x8b result=0x0]\n"},
      {[&] { return driver.PoeGetPowerStatus(nullptr); }, 1364, "NULL pointer parameter\n"},
      {[&] { return driver.PoeReadReg(0xCF, &number); }, 2203,
       "Range Error [address=0xcf result=" + bits(&number) + "]\n"},
      {[&] { return driver.PoeReadReg(0x100, nullptr); }, 2203, "Range Error [address=0x100 result=0x0]\n"},
      {[&] { return driver.PoeReadReg16(0xCF, &number); }, 2265,
       "Range Error [address=0xcf result=" + bits(&number) + "]\n"},
      {[&] { return driver.PoeReadReg16(0x71, nullptr); }, 2265, "Range Error [address=0x71 result=0x0]\n"},
      {[&] { return driver.PoeDriverInfo(nullptr, 4095); }, 455, "NULL pointer parameter\n"},
  };
  for (const Row& row : rows) {
    EXPECT_FALSE(row.read()) << row.message;
    EXPECT_EQ(takeLog(), driverError(row.line, row.message));
  }
  EXPECT_EQ(number, 9U);
  EXPECT_EQ(bus.transferCount(), 0U);
  EXPECT_EQ(infoOf(driver), driverInfo("IDLE", "FALSE", 0));
}

} // namespace
