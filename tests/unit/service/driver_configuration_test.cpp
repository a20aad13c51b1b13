// The driver's setters and the default configuration.
#include "tests/unit/service/driver_fixture.h"

#include <functional>

namespace {

const LogLines DEFAULT_NOTICE = {{6, "POE now setting default configuration\n"}};

// Setters that change a field of a shared register: what they leave of 0x00 and of 0xFF for each port.
struct FieldSetter {
  const char* name;
  std::function<bool(CPD69104&, unsigned)> call;
  unsigned reg[4];
  unsigned fromZeros[4];
  unsigned fromOnes[4];
  int line;
  const char* rangeMessage; // for port 4
};

std::ostream& operator<<(std::ostream& out, const FieldSetter& setter) {
  return out << setter.name;
}

const FieldSetter FIELD_SETTERS[] = {
    {"PoeSetPortMode",
     [](CPD69104& d, unsigned c) { return d.PoeSetPortMode(c, 2); },
     {0x12, 0x12, 0x12, 0x12},
     {0x02, 0x08, 0x20, 0x80},
     {0xFE, 0xFB, 0xEF, 0xBF},
     638,
     "Range Error [4:"},
    {"PoeSetPortModeCutToItsField",
     [](CPD69104& d, unsigned c) { return d.PoeSetPortMode(c, 0xFFFFFFFD); },
     {0x12, 0x12, 0x12, 0x12},
     {0x01, 0x04, 0x10, 0x40},
     {0xFD, 0xF7, 0xDF, 0x7F},
     638,
     "Range Error [4:"},
    {"PoeSetDetectionClassificationOn",
     [](CPD69104& d, unsigned c) { return d.PoeSetDetectionClassification(c, 3); },
     {0x14, 0x14, 0x14, 0x14},
     {0x11, 0x22, 0x44, 0x88},
     {0xFF, 0xFF, 0xFF, 0xFF},
     1212,
     "Range Error [c=4:"},
    {"PoeSetDetectionClassificationOff",
     [](CPD69104& d, unsigned c) { return d.PoeSetDetectionClassification(c, 2); },
     {0x14, 0x14, 0x14, 0x14},
     {0x00, 0x00, 0x00, 0x00},
     {0xEE, 0xDD, 0xBB, 0x77},
     1212,
     "Range Error [c=4:"},
    {"PoeSetPortDisconnectOn",
     [](CPD69104& d, unsigned c) { return d.PoeSetPortDisconnect(c, 0xFF); },
     {0x13, 0x13, 0x13, 0x13},
     {0x01, 0x02, 0x04, 0x08},
     {0xFF, 0xFF, 0xFF, 0xFF},
     868,
     "Range Error [c=4:"},
    {"PoeSetPortDisconnectOff",
     [](CPD69104& d, unsigned c) { return d.PoeSetPortDisconnect(c, 0xFE); },
     {0x13, 0x13, 0x13, 0x13},
     {0x00, 0x00, 0x00, 0x00},
     {0xFE, 0xFD, 0xFB, 0xF7},
     868,
     "Range Error [c=4:"},
    {"PoeSetPortMidspanOn",
     [](CPD69104& d, unsigned c) { return d.PoeSetPortMidspan(c, 1); },
     {0x15, 0x15, 0x15, 0x15},
     {0x01, 0x02, 0x04, 0x08},
     {0xFF, 0xFF, 0xFF, 0xFF},
     940,
     "Range Error [c=4:"},
    {"PoeSetPortMidspanOff",
     [](CPD69104& d, unsigned c) { return d.PoeSetPortMidspan(c, 0); },
     {0x15, 0x15, 0x15, 0x15},
     {0x00, 0x00, 0x00, 0x00},
     {0xFE, 0xFD, 0xFB, 0xF7},
     940,
     "Range Error [c=4:"},
    {"PoeSetPortTlim",
     [](CPD69104& d, unsigned c) { return d.PoeSetPortTlim(c, 9); },
     {0x1E, 0x1E, 0x1F, 0x1F},
     {0x05, 0x50, 0x05, 0x50},
     {0xF5, 0x5F, 0xF5, 0x5F},
     1011,
     "Range Error [c=4:"},
    {"PoeSetPortPriority",
     [](CPD69104& d, unsigned c) { return d.PoeSetPortPriority(c, 3); },
     {0x80, 0x80, 0x80, 0x80},
     {0x02, 0x08, 0x20, 0x80},
     {0xFE, 0xFB, 0xEF, 0xBF},
     786,
     "Range Error [c=4:"},
};

class FieldSetters : public DriverTest, public ::testing::WithParamInterface<FieldSetter> {
protected:
  std::string rangeMessage(unsigned port) const {
    const std::string start = GetParam().rangeMessage + std::to_string(static_cast<int>(port));
    switch (GetParam().line) {
    case 638:
      return start + "]\n";
    case 786:
      return start + " pr=3]\n";
    default:
      return start + " ]\n";
    }
  }
};

TEST_P(FieldSetters, ReadAndWriteTheRegisterOfOnePortAndKeepTheOtherBits) {
  const FieldSetter& setter = GetParam();
  for (unsigned port = 0; port < 4; port++) {
    registers[setter.reg[port]] = 0x00;
    EXPECT_TRUE(setter.call(driver, port));
    EXPECT_EQ(bus.takeTransfers(),
              (Transfers{R(setter.reg[port], 0x00), W(setter.reg[port], setter.fromZeros[port])}));
    registers[setter.reg[port]] = 0xFF;
    EXPECT_TRUE(setter.call(driver, port));
    EXPECT_EQ(bus.takeTransfers(),
              (Transfers{R(setter.reg[port], 0xFF), W(setter.reg[port], setter.fromOnes[port])}));
  }
}

TEST_P(FieldSetters, TakeAllPortsInTurnWithAReadAndAWriteForEach) {
  const FieldSetter& setter = GetParam();
  EXPECT_TRUE(setter.call(driver, 127));
  Transfers expected;
  std::map<unsigned, unsigned> value;
  for (unsigned port = 0; port < 4; port++) {
    const unsigned reg = setter.reg[port];
    expected.push_back(R(reg, value[reg]));
    value[reg] |= setter.fromZeros[port];
    expected.push_back(W(reg, value[reg]));
  }
  EXPECT_EQ(bus.takeTransfers(), expected);
}

TEST_P(FieldSetters, RejectEveryOtherPortWithoutATransfer) {
  for (const unsigned port : {4U, 126U, 128U, 0xFFFFFFFFU}) {
    EXPECT_FALSE(GetParam().call(driver, port));
    EXPECT_EQ(takeLog(), driverError(GetParam().line, rangeMessage(port)));
  }
  EXPECT_EQ(bus.transferCount(), 0U);
  EXPECT_EQ(infoOf(driver), driverInfo("IDLE", "FALSE", 0));
}

INSTANTIATE_TEST_SUITE_P(Driver, FieldSetters, ::testing::ValuesIn(FIELD_SETTERS),
                         [](const auto& row) { return std::string(row.param.name); });

using PoeSetPortMode = DriverTest;

using PoeSetPortTlim = DriverTest;

TEST_F(PoeSetPortTlim, RoundsToStepsOf1710MicrosecondsAndClampsToFifteenWithoutAMessage) {
  const std::pair<unsigned, unsigned> rows[] = {
      {0, 0},   {1, 1},   {2, 1},   {3, 2},   {4, 2},   {5, 3},    {9, 5},     {24, 14},        {25, 15},
      {26, 15}, {27, 15}, {28, 15}, {29, 15}, {60, 15}, {100, 15}, {1000, 15}, {0xFFFFFFFF, 15}};
  for (const auto& [milliseconds, steps] : rows) {
    EXPECT_TRUE(driver.PoeSetPortTlim(0, milliseconds));
    EXPECT_EQ(registers[0x1E], steps) << milliseconds << " ms";
  }
}

using PoeSetPortPriority = DriverTest;

TEST_F(PoeSetPortPriority, StoresOneLessThanThePriority) {
  for (int priority = 1; priority <= 3; priority++) {
    EXPECT_TRUE(driver.PoeSetPortPriority(1, priority));
    EXPECT_EQ(registers[0x80], static_cast<unsigned>(priority - 1) << 2);
  }
}

TEST_F(PoeSetPortPriority, RejectsEveryOtherPriorityWithoutATransfer) {
  for (const int priority : {0, 4, -1, 5, INT32_MIN, INT32_MAX}) {
    EXPECT_FALSE(driver.PoeSetPortPriority(1, priority));
    EXPECT_EQ(takeLog(), driverError(786, "Range Error [c=4:1 pr=" + std::to_string(priority) + "]\n"));
  }
  EXPECT_EQ(bus.transferCount(), 0U);
}

using PoeSetPortHighPower = DriverTest;

TEST_F(PoeSetPortHighPower, WritesEnableModeCutAndLimitOfThePort) {
  registers[0x44] = 0xF0;
  registers[0x50] = 0xFC;
  EXPECT_TRUE(driver.PoeSetPortHighPower(2, 1, 1, 0, 375, 1));
  EXPECT_EQ(bus.takeTransfers(), (Transfers{R(0x44, 0xF0), W(0x44, 0xF4), R(0x50, 0xFC), W(0x50, 0xFD),
                                            W(0x51, 0xD4), W(0x52, 0x80)}));
}

TEST_F(PoeSetPortHighPower, TakesBitZeroOfTheFlagsAndTheOtherLimitMode) {
  registers[0x44] = 0xFF;
  registers[0x55] = 0xFF;
  EXPECT_TRUE(driver.PoeSetPortHighPower(3, 2, 0xFE, 3, 0, 0));
  EXPECT_EQ(bus.takeTransfers(), (Transfers{R(0x44, 0xFF), W(0x44, 0xF7), R(0x55, 0xFF), W(0x55, 0xFE),
                                            W(0x56, 0xC0), W(0x57, 0xC0)}));
}

TEST_F(PoeSetPortHighPower, TakesAllPortsInTurn) {
  EXPECT_TRUE(driver.PoeSetPortHighPower(ALL_PORTS, 1, 0, 1, 375, 0));
  EXPECT_EQ(
      bus.takeTransfers(),
      (Transfers{R(0x44, 0x00), W(0x44, 0x01), R(0x46, 0x00), W(0x46, 0x02), W(0x47, 0xD4), W(0x48, 0xC0),
                 R(0x44, 0x01), W(0x44, 0x03), R(0x4B, 0x00), W(0x4B, 0x02), W(0x4C, 0xD4), W(0x4D, 0xC0),
                 R(0x44, 0x03), W(0x44, 0x07), R(0x50, 0x00), W(0x50, 0x02), W(0x51, 0xD4), W(0x52, 0xC0),
                 R(0x44, 0x07), W(0x44, 0x0F), R(0x55, 0x00), W(0x55, 0x02), W(0x56, 0xD4), W(0x57, 0xC0)}));
}

TEST_F(PoeSetPortHighPower, RoundsTheCurrentToTheStepsOfItsRange) {
  const std::pair<unsigned, unsigned> rows[] = {{0, 0xC0},    {9, 0xC0},    {10, 0xC1},   {28, 0xC1},
                                                {29, 0xC2},   {375, 0xD4},  {1171, 0xFE}, {1172, 0xFF},
                                                {1181, 0xFF}, {1182, 0xA0}, {1218, 0xA0}, {1219, 0xA1},
                                                {2343, 0xBE}, {2344, 0xBF}, {2381, 0xBF}};
  for (const auto& [milliAmps, value] : rows) {
    EXPECT_TRUE(driver.PoeSetPortHighPower(1, 1, 1, 0, milliAmps, 1));
    EXPECT_EQ(registers[0x4C], value) << milliAmps << " mA";
  }
}

TEST_F(PoeSetPortHighPower, ReportsACurrentBeyondTheRangeAndWritesTheMost) {
  for (const unsigned milliAmps : {2382U, 100000U, 0xFFFFFFFFU}) {
    EXPECT_TRUE(driver.PoeSetPortHighPower(0, 1, 1, 0, milliAmps, 1));
    EXPECT_EQ(registers[0x47], 0xBF);
    EXPECT_EQ(takeLog(), driverError(1148, "Range Error: Icut too large, truncated [Icut=" +
                                               std::to_string(static_cast<int>(milliAmps)) + " ]\n"));
  }
}

TEST_F(PoeSetPortHighPower, AnIllegalLimitModeFailsAfterTheOtherWritesOfEveryPort) {
  makeNormal();
  EXPECT_FALSE(driver.PoeSetPortHighPower(ALL_PORTS, 1, 1, 0, 375, 2));
  const LogLines report = driverError(1167, "Illegal mode [0x2]\n");
  EXPECT_EQ(takeLog(), report + report + report + report);
  EXPECT_EQ(registersOf(bus.takeTransfers()), "R44 W44 R46 W46 W47 R44 W44 R4B W4B W4C "
                                              "R44 W44 R50 W50 W51 R44 W44 R55 W55 W56 ");
  EXPECT_EQ(infoOf(driver), driverInfo("NORMAL", "FALSE", 0));
}

TEST_F(PoeSetPortHighPower, RejectsEveryOtherPortWithoutATransfer) {
  EXPECT_FALSE(driver.PoeSetPortHighPower(4, 1, 1, 0, 9999, 7));
  EXPECT_FALSE(driver.PoeSetPortHighPower(126, 1, 1, 0, 375, 1));
  EXPECT_EQ(takeLog(),
            driverError(1099, "Range Error [c=4:4 ]\n") + driverError(1099, "Range Error [c=4:126 ]\n"));
  EXPECT_EQ(bus.transferCount(), 0U);
}

using PoeSetPortPowerLimit = DriverTest;

TEST_F(PoeSetPortPowerLimit, WritesWholeWattsOfBothLimits) {
  EXPECT_TRUE(driver.PoeSetPortPowerLimit(0, 40000, 40000));
  EXPECT_TRUE(driver.PoeSetPortPowerLimit(3, 999, 15999));
  EXPECT_EQ(bus.takeTransfers(), (Transfers{W(0x81, 40), W(0x85, 40), W(0x84, 0), W(0x88, 15)}));
}

TEST_F(PoeSetPortPowerLimit, TakesAllPortsInTurn) {
  EXPECT_TRUE(driver.PoeSetPortPowerLimit(ALL_PORTS, 30000, 1000));
  EXPECT_EQ(bus.takeTransfers(), (Transfers{W(0x81, 30), W(0x85, 1), W(0x82, 30), W(0x86, 1), W(0x83, 30),
                                            W(0x87, 1), W(0x84, 30), W(0x88, 1)}));
}

TEST_F(PoeSetPortPowerLimit, RejectsABadPortAndLimitsAbove40000WithoutATransfer) {
  EXPECT_FALSE(driver.PoeSetPortPowerLimit(4, 1, 2));
  EXPECT_FALSE(driver.PoeSetPortPowerLimit(126, 0, 0));
  EXPECT_FALSE(driver.PoeSetPortPowerLimit(1, 40001, 0));
  EXPECT_FALSE(driver.PoeSetPortPowerLimit(1, 0, 40001));
  EXPECT_FALSE(driver.PoeSetPortPowerLimit(127, 0xFFFFFFFF, 0));
  EXPECT_EQ(takeLog(), driverError(718, "Range Error [c=4:4 pw=40000:1 tpw=40000:2]\n") +
                           driverError(718, "Range Error [c=4:126 pw=40000:0 tpw=40000:0]\n") +
                           driverError(718, "Range Error [c=4:1 pw=40000:40001 tpw=40000:0]\n") +
                           driverError(718, "Range Error [c=4:1 pw=40000:0 tpw=40000:40001]\n") +
                           driverError(718, "Range Error [c=4:127 pw=40000:-1 tpw=40000:0]\n"));
  EXPECT_EQ(bus.transferCount(), 0U);
}

using PoeSetBankPowerLimit = DriverTest;

TEST_F(PoeSetBankPowerLimit, WritesTheRegisterOfTheBank) {
  for (unsigned bank = 0; bank < 8; bank++) {
    EXPECT_TRUE(driver.PoeSetBankPowerLimit(bank, 255 - bank));
    EXPECT_EQ(bus.takeTransfers(), Transfers{W(0x89 + bank, 255 - bank)});
  }
}

TEST_F(PoeSetBankPowerLimit, RejectsABankAbove7AndALimitAbove255WithoutATransfer) {
  EXPECT_FALSE(driver.PoeSetBankPowerLimit(8, 0));
  EXPECT_FALSE(driver.PoeSetBankPowerLimit(0, 256));
  EXPECT_FALSE(driver.PoeSetBankPowerLimit(0xFFFFFFFF, 0xFFFFFFFE));
  EXPECT_EQ(takeLog(), driverError(539, "Range Error [bank=8 powerLimit=0]\n") +
                           driverError(539, "Range Error [bank=0 powerLimit=256]\n") +
                           driverError(539, "Range Error [bank=-1 powerLimit=-2]\n"));
  EXPECT_EQ(bus.transferCount(), 0U);
}

using PoeSetPmCalculationStatic = DriverTest;

TEST_F(PoeSetPmCalculationStatic, ClearsBitOneForStaticAndSetsItForDynamic) {
  registers[0x7F] = 0xFF;
  EXPECT_TRUE(driver.PoeSetPmCalculationStatic(true));
  EXPECT_EQ(bus.takeTransfers(), (Transfers{R(0x7F, 0xFF), W(0x7F, 0xFD)}));
  registers[0x7F] = 0x00;
  EXPECT_TRUE(driver.PoeSetPmCalculationStatic(false));
  EXPECT_EQ(bus.takeTransfers(), (Transfers{R(0x7F, 0x00), W(0x7F, 0x02)}));
}

using PoeResetPorts = DriverTest;

TEST_F(PoeResetPorts, LogsTheArgumentAndWritesItsLowNibble) {
  EXPECT_TRUE(driver.PoeResetPorts(0xA5));
  EXPECT_TRUE(driver.PoeResetPorts(0xFFFFFFF8));
  EXPECT_EQ(bus.takeTransfers(), (Transfers{W(0x1A, 0x05), W(0x1A, 0x08)}));
  EXPECT_EQ(takeLog(),
            (LogLines{{6, "PoeResetPorts resetBits=0xa5\n"}, {6, "PoeResetPorts resetBits=0xfffffff8\n"}}));
}

using PoeSetDefaultConfiguration = DriverTest;

TEST_F(PoeSetDefaultConfiguration, SwitchesThePortsOffAndZeroesTheBanksAndMakesTheDriverNormal) {
  registers[0x12] = 0xFF;
  EXPECT_TRUE(driver.PoeSetDefaultConfiguration());
  EXPECT_EQ(takeLog(), DEFAULT_NOTICE);
  EXPECT_EQ(bus.takeTransfers(),
            (Transfers{R(0x12, 0xFF), W(0x12, 0xFC), R(0x12, 0xFC), W(0x12, 0xF0), R(0x12, 0xF0),
                       W(0x12, 0xC0), R(0x12, 0xC0), W(0x12, 0x00), W(0x89, 0), W(0x8A, 0), W(0x8B, 0),
                       W(0x8C, 0), W(0x8D, 0), W(0x8E, 0), W(0x8F, 0), W(0x90, 0)}));
  EXPECT_EQ(infoOf(driver), driverInfo("NORMAL", "FALSE", 0));
}

} // namespace
