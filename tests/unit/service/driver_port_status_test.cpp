// The driver's readers of a port and their unit conversions.
#include "tests/unit/service/driver_fixture.h"

#include <sstream>

namespace {

// Compares records by their values; the padding does not count.
std::string valuesOf(const ChannelStatus& s) {
  std::ostringstream out;
  out << s.enable << s.power_good << " " << s.det_status << " " << s.pclass << " " << s.fet_error
      << s.mosfet_overtemperature << s.in_pm_mode << s.passed_MSCC_cap_det << s.det_fail;
  return out.str();
}

std::string valuesOf(const PortMeasurements& m) {
  std::ostringstream out;
  out << m.main_voltage << " " << m.port_voltage << " " << m.port_current << " " << m.power_consumption;
  return out.str();
}

using PoeGetChannelStatus = DriverTest;

TEST_F(PoeGetChannelStatus, ReadsFourRegistersOfThePortInOrder) {
  const char* const reads[] = {"R10 R0C R49 R75 ", "R10 R0D R4E R75 ", "R10 R0E R53 R76 ",
                               "R10 R0F R58 R76 "};
  for (unsigned port = 0; port < 4; port++) {
    ChannelStatus status{};
    EXPECT_TRUE(driver.PoeGetChannelStatus(port, &status));
    EXPECT_EQ(registersOf(bus.takeTransfers()), reads[port]);
  }
}

TEST_F(PoeGetChannelStatus, TakesEachFlagFromItsBit) {
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

TEST_F(PoeGetChannelStatus, RejectsABadPortAndAMissingRecord) {
  ChannelStatus status{};
  EXPECT_FALSE(driver.PoeGetChannelStatus(4, &status));
  EXPECT_FALSE(driver.PoeGetChannelStatus(127, &status));
  EXPECT_FALSE(driver.PoeGetChannelStatus(3, nullptr));
  EXPECT_EQ(takeLog(),
            driverError(1684, "Range Error [channel=4:4 channel_status=" + bits(&status) + "]\n") +
                driverError(1684, "Range Error [channel=4:127 channel_status=" + bits(&status) + "]\n") +
                driverError(1684, "Range Error [channel=4:3 channel_status=0x0]\n"));
  EXPECT_EQ(bus.transferCount(), 0U);
}

using PoeGetChannelCounts = DriverTest;

constexpr std::uint32_t PortCounts::*COUNTS[] = {
    &PortCounts::invalidSignatureCount, &PortCounts::powerDeniedCount, &PortCounts::overLoadCount,
    &PortCounts::underLoadCount,        &PortCounts::shortCount,       &PortCounts::classErrorCount};

TEST_F(PoeGetChannelCounts, SplitsEachRegisterIntoTwoBitsAPort) {
  const std::uint8_t values[] = {0xE4, 0x1B, 0xC0, 0x03, 0x30, 0x0C};
  const unsigned expected[6][4] = {{0, 1, 2, 3}, {3, 2, 1, 0}, {0, 0, 0, 3},
                                   {3, 0, 0, 0}, {0, 0, 3, 0}, {0, 3, 0, 0}};
  for (unsigned k = 0; k < 6; k++) {
    registers[0x77 + k] = values[k];
  }
  ChannelCounts counts{};
  EXPECT_TRUE(driver.PoeGetChannelCounts(&counts));
  const ChannelCounts& byPort = counts;
  for (unsigned k = 0; k < 6; k++) {
    for (unsigned port = 0; port < 4; port++) {
      EXPECT_EQ(byPort[port].*COUNTS[k], expected[k][port]) << "counter " << k << " port " << port;
    }
  }
  EXPECT_EQ(registersOf(bus.takeTransfers()), "R77 R78 R79 R7A R7B R7C ");
}

TEST_F(PoeGetChannelCounts, RejectsAMissingRecordAndPrintsZeroForIt) {
  EXPECT_FALSE(driver.PoeGetChannelCounts(nullptr));
  EXPECT_EQ(takeLog(), driverError(2027, "Range Error [channel_counts=0x0]\n"));
  EXPECT_EQ(bus.transferCount(), 0U);
}

using PoeGetMeasurements = DriverTest;

TEST_F(PoeGetMeasurements, ReadsVoltagesCurrentAndPowerOfThePortInOrder) {
  const char* const reads[] = {"R71 R72 R32 R33 R30 R31 R92 ", "R71 R72 R36 R37 R34 R35 R93 ",
                               "R71 R72 R3A R3B R38 R39 R94 ", "R71 R72 R3E R3F R3C R3D R95 "};
  for (unsigned port = 0; port < 4; port++) {
    PortMeasurements measurements{};
    EXPECT_TRUE(driver.PoeGetMeasurements(port, &measurements));
    EXPECT_EQ(registersOf(bus.takeTransfers()), reads[port]);
  }
}

TEST_F(PoeGetMeasurements, ConvertsToDecivoltsAndMilliampsRoundingHalvesUp) {
  struct Row {
    unsigned raw;
    unsigned deciVolts;
    unsigned milliAmps;
  };
  const Row rows[] = {{0, 0, 0},       {1, 0, 0},         {8, 0, 1},           {9, 1, 1},
                      {1000, 58, 122}, {9254, 540, 1130}, {32768, 1912, 4000}, {0xFFFF, 3824, 8000},
                      {4096, 239, 500}};
  for (const Row& row : rows) {
    set16(0x71, row.raw);
    set16(0x36, row.raw);
    set16(0x34, row.raw);
    registers[0x93] = 0xFE;
    PortMeasurements measurements{};
    EXPECT_TRUE(driver.PoeGetMeasurements(1, &measurements));
    const std::string expected = std::to_string(row.deciVolts) + " " + std::to_string(row.deciVolts) + " " +
                                 std::to_string(row.milliAmps) + " 254";
    EXPECT_EQ(valuesOf(measurements), expected) << "raw " << row.raw;
  }
}

TEST_F(PoeGetMeasurements, RejectsABadPortAndAMissingRecordWithThePortFirst) {
  PortMeasurements measurements{};
  EXPECT_FALSE(driver.PoeGetMeasurements(4, &measurements));
  EXPECT_FALSE(driver.PoeGetMeasurements(0, nullptr));
  EXPECT_EQ(takeLog(),
            driverError(1943, "Range Error [channel=4:4 measurements=" + bits(&measurements) + "]\n") +
                driverError(1943, "Range Error [channel=0:4 measurements=0x0]\n"));
  EXPECT_EQ(bus.transferCount(), 0U);
}

using PoeGetPortPriority = DriverTest;

TEST_F(PoeGetPortPriority, ReturnsTheFieldOfThePort) {
  registers[0x80] = 0xE4;
  for (unsigned port = 0; port < 4; port++) {
    unsigned priority = 9;
    EXPECT_TRUE(driver.PoeGetPortPriority(port, &priority));
    EXPECT_EQ(priority, port);
  }
}

TEST_F(PoeGetPortPriority, RejectsABadPortAndAMissingResult) {
  unsigned priority = 9;
  EXPECT_FALSE(driver.PoeGetPortPriority(4, &priority));
  EXPECT_FALSE(driver.PoeGetPortPriority(1, nullptr));
  EXPECT_EQ(takeLog(), driverError(1885, "Range Error [channel=4:4 priority=" + bits(&priority) + "]\n") +
                           driverError(1885, "Range Error [channel=4:1 priority=0x0]\n"));
  EXPECT_EQ(bus.transferCount(), 0U);
}

using PoeGetPortPowerLimit = DriverTest;

TEST_F(PoeGetPortPowerLimit, ReturnsTheLowSixBitsOfBothLimits) {
  registers[0x84] = 0xDE;
  registers[0x88] = 0x7F;
  PortPowerLimits limits{};
  EXPECT_TRUE(driver.PoeGetPortPowerLimit(3, &limits));
  EXPECT_EQ(limits.pw, 30U);
  EXPECT_EQ(limits.tpw, 63U);
  EXPECT_EQ(registersOf(bus.takeTransfers()), "R84 R88 ");
}

TEST_F(PoeGetPortPowerLimit, RejectsABadPortAndAMissingRecord) {
  PortPowerLimits limits{};
  EXPECT_FALSE(driver.PoeGetPortPowerLimit(4, &limits));
  EXPECT_FALSE(driver.PoeGetPortPowerLimit(2, nullptr));
  EXPECT_EQ(takeLog(), driverError(1820, "Range Error [channel=4:4 power_limit=" + bits(&limits) + "]\n") +
                           driverError(1820, "Range Error [channel=4:2 power_limit=0x0]\n"));
  EXPECT_EQ(bus.transferCount(), 0U);
}

using PoeGetPortMode = DriverTest;

TEST_F(PoeGetPortMode, ReturnsTheFieldOfThePort) {
  registers[0x12] = 0x1B;
  for (unsigned port = 0; port < 4; port++) {
    unsigned mode = 9;
    EXPECT_TRUE(driver.PoeGetPortMode(port, &mode));
    EXPECT_EQ(mode, 3 - port);
  }
}

TEST_F(PoeGetPortMode, RejectsABadPort) {
  unsigned mode = 9;
  EXPECT_FALSE(driver.PoeGetPortMode(4, &mode));
  EXPECT_FALSE(driver.PoeGetPortMode(127, &mode));
  EXPECT_EQ(takeLog(), driverError(1628, "Range Error [4:4]\n") + driverError(1628, "Range Error [4:127]\n"));
  EXPECT_EQ(mode, 9U);
  EXPECT_EQ(bus.transferCount(), 0U);
}

} // namespace
