// The PD69104's registers as the service uses them, in address order, and the fields in them.
//
// All registers have 8 bits. A register that exists once per port is a function of the port (0 to 3), one
// that exists once per power bank a function of the bank (0 to 7).
#pragma once

constexpr unsigned CHIP_PORTS = 4;
constexpr unsigned CHIP_BANKS = 8;

// Some of a register's bits: `mask` covers them, `shift` is the number of the lowest.
struct BitField {
  unsigned mask;
  unsigned shift;

  // The field's value in a register value.
  constexpr unsigned get(unsigned registerValue) const { return (registerValue & mask) >> shift; }

  // The register value with the field replaced; a value wider than the field is cut to it.
  constexpr unsigned set(unsigned registerValue, unsigned value) const {
    return (registerValue & ~mask) | ((value << shift) & mask);
  }
};

namespace Register {

constexpr unsigned portStatus(unsigned port) {
  return 0x0C + port;
}
constexpr unsigned POWER_STATUS = 0x10;
constexpr unsigned OPERATING_MODE = 0x12;
constexpr unsigned DISCONNECT = 0x13;
constexpr unsigned DETECTION_CLASSIFICATION = 0x14;
constexpr unsigned MIDSPAN = 0x15;
constexpr unsigned PORT_RESET = 0x1A;
constexpr unsigned currentLimitTimer(unsigned port) {
  return 0x1E + port / 2;
}
constexpr unsigned portCurrent(unsigned port) {
  return 0x30 + 4 * port;
} // 16 bits
constexpr unsigned portVoltage(unsigned port) {
  return 0x32 + 4 * port;
} // 16 bits
constexpr unsigned THERMAL_STATUS = 0x42;
constexpr unsigned DEVICE_ID = 0x43;
constexpr unsigned HIGH_POWER_ENABLE = 0x44;
constexpr unsigned highPowerMode(unsigned port) {
  return 0x46 + 5 * port;
}
constexpr unsigned currentCut(unsigned port) {
  return 0x47 + 5 * port;
}
constexpr unsigned currentLimit(unsigned port) {
  return 0x48 + 5 * port;
}
constexpr unsigned highPowerStatus(unsigned port) {
  return 0x49 + 5 * port;
}
constexpr unsigned TEMPERATURE = 0x70;
constexpr unsigned MAIN_VOLTAGE = 0x71; // 16 bits
constexpr unsigned portDetails(unsigned port) {
  return 0x75 + port / 2;
}
constexpr unsigned INVALID_SIGNATURE_COUNT = 0x77;
constexpr unsigned POWER_DENIED_COUNT = 0x78;
constexpr unsigned OVERLOAD_COUNT = 0x79;
constexpr unsigned UNDERLOAD_COUNT = 0x7A;
constexpr unsigned SHORT_COUNT = 0x7B;
constexpr unsigned CLASS_ERROR_COUNT = 0x7C;
constexpr unsigned POWER_MANAGEMENT = 0x7F;
constexpr unsigned PRIORITY = 0x80;
constexpr unsigned portPowerLimit(unsigned port) {
  return 0x81 + port;
} // W
constexpr unsigned temporaryPortPowerLimit(unsigned port) {
  return 0x85 + port;
} // W
constexpr unsigned bankPowerLimit(unsigned bank) {
  return 0x89 + bank;
} // W
constexpr unsigned ACTIVE_BANK = 0x91;
constexpr unsigned portPower(unsigned port) {
  return 0x92 + port;
} // W
constexpr unsigned TOTAL_POWER = 0x96;              // W
constexpr unsigned MINIMUM_SHUTDOWN_VOLTAGE = 0xCB; // 16 bits
constexpr unsigned LAST = 0xCE;

} // namespace Register

static_assert(Register::currentLimitTimer(1) == 0x1E && Register::currentLimitTimer(2) == 0x1F);
static_assert(Register::portCurrent(3) == 0x3C && Register::portVoltage(3) == 0x3E);
static_assert(Register::highPowerMode(3) == 0x55 && Register::currentCut(3) == 0x56);
static_assert(Register::currentLimit(3) == 0x57 && Register::highPowerStatus(3) == 0x58);
static_assert(Register::portDetails(1) == 0x75 && Register::portDetails(2) == 0x76);
static_assert(Register::bankPowerLimit(7) == 0x90 && Register::portPower(3) == 0x95);

namespace Field {

// Families of fields, one per port.
constexpr BitField TWO_BITS[CHIP_PORTS] = {{0x03, 0}, {0x0C, 2}, {0x30, 4}, {0xC0, 6}};
constexpr BitField LOW_BIT[CHIP_PORTS] = {{0x01, 0}, {0x02, 1}, {0x04, 2}, {0x08, 3}};
constexpr BitField HIGH_BIT[CHIP_PORTS] = {{0x10, 4}, {0x20, 5}, {0x40, 6}, {0x80, 7}};
constexpr BitField NIBBLE[CHIP_PORTS] = {{0x0F, 0}, {0xF0, 4}, {0x0F, 0}, {0xF0, 4}}; // two ports a register

// Register::portStatus
constexpr BitField DETECTION_STATUS = {0x07, 0};
constexpr BitField CLASSIFICATION = {0x70, 4};

// Register::PORT_RESET
constexpr BitField ALL_PORT_RESETS = {0x0F, 0};

// Register::THERMAL_STATUS
constexpr BitField THERMAL_SHUTDOWN = {0x80, 7};

// Register::DEVICE_ID
constexpr BitField ID = {0xE0, 5};
constexpr BitField REVISION = {0x07, 0};

// Register::highPowerMode
constexpr BitField HIGH_POWER_MODE_BIT0 = {0x01, 0};
constexpr BitField HIGH_POWER_MODE_BIT1 = {0x02, 1};

// Register::currentCut
constexpr BitField CUT_STEPS = {0x3F, 0};

// Register::highPowerStatus
constexpr BitField FET_ERROR = {0x02, 1};

// A port's nibble of Register::portDetails
constexpr BitField MOSFET_OVERTEMPERATURE = {0x01, 0};
constexpr BitField IN_PM_MODE = {0x02, 1};
constexpr BitField PASSED_MSCC_CAP_DET = {0x04, 2};
constexpr BitField DET_FAIL = {0x08, 3};

// Register::POWER_MANAGEMENT
constexpr BitField DYNAMIC_CALCULATION = {0x02, 1};

// Register::portPowerLimit and Register::temporaryPortPowerLimit
constexpr BitField POWER_LIMIT = {0x3F, 0};

// Register::ACTIVE_BANK
constexpr BitField BANK = {0x78, 3};

// The part of ACTIVE_BANK's value that numbers one of the eight bank limits
constexpr BitField BANK_WITH_LIMIT = {0x07, 0};

// Register::MINIMUM_SHUTDOWN_VOLTAGE
constexpr BitField SHUTDOWN_VOLTAGE = {0x7FF, 0};

} // namespace Field

static_assert(Field::TWO_BITS[2].set(0xFF, 1) == 0xDF && Field::TWO_BITS[3].get(0x80) == 2);
static_assert(Field::LOW_BIT[3].set(0x00, 3) == 0x08 && Field::LOW_BIT[1].get(0x02) == 1);
static_assert(Field::HIGH_BIT[0].set(0xFF, 0) == 0xEF && Field::HIGH_BIT[3].get(0x7F) == 0);
static_assert(Field::NIBBLE[1].set(0x0F, 0x0A) == 0xAF && Field::NIBBLE[3].get(0xAF) == 0x0A);
static_assert(Field::BANK.get(0x48) == 9 && Field::BANK_WITH_LIMIT.get(9) == 1);
