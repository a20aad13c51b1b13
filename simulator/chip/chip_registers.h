// The data sheet of the simulated PD69104: its registers, their fields and their units.
//
// It is written down on its own and shares nothing with the driver, so that a wrong address on either side
// shows. All registers have 8 bits. A word is two registers, low byte first. Ports and banks are counted from
// 0.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace data_sheet {

inline constexpr unsigned PORTS = 4;
inline constexpr unsigned BANKS = 8;
inline constexpr std::uint8_t LAST_REGISTER = 0xCE; // a higher address is not acknowledged

enum class Access : std::uint8_t {
  ReadWrite,
  ReadOnly, // A write is acknowledged and has no effect.
  Command,  // A write has an effect, a read gives 0.
};

// The registers of one kind: a single one, or one for each port, pair of ports or bank.
struct Register {
  std::uint8_t first; // address of the first register
  std::uint8_t count;
  std::uint8_t stride; // distance from one to the next
  Access access;
  std::uint8_t powerOn; // value after power-on
  const char* name;

  constexpr std::uint8_t at(unsigned index) const {
    return static_cast<std::uint8_t>(first + index * stride);
  }
  constexpr bool includes(std::uint8_t address) const {
    return address >= first && (address - first) % stride == 0 && (address - first) / stride < count;
  }
};

// The power-on values of limits, current cut, current limit and identification are guesses. The limit of
// bank 7 is not 0 after power-on, which distinguishes a freshly powered chip from a configured one.
inline constexpr auto RW = Access::ReadWrite;
inline constexpr auto RO = Access::ReadOnly;
inline constexpr Register PORT_STATUS{0x0C, 4, 1, RO, 0x00, "port status"};
inline constexpr Register POWER_STATUS{0x10, 1, 1, RO, 0x00, "power status"};
inline constexpr Register OPERATING_MODE{0x12, 1, 1, RW, 0x00, "operating mode"};
inline constexpr Register DISCONNECT_ENABLE{0x13, 1, 1, RW, 0x00, "disconnect enable"};
inline constexpr Register DETECTION_AND_CLASSIFICATION_ENABLE{
    0x14, 1, 1, RW, 0x00, "detection and classification enable"};
inline constexpr Register MIDSPAN{0x15, 1, 1, RW, 0x00, "midspan"};
inline constexpr Register PORT_RESET{0x1A, 1, 1, Access::Command, 0x00, "port reset"};
inline constexpr Register CURRENT_LIMIT_TIMER{0x1E, 2, 1, RW, 0x00, "current limit timer"};
inline constexpr Register PORT_CURRENT_LOW{0x30, 4, 4, RO, 0x00, "port current low byte"};
inline constexpr Register PORT_CURRENT_HIGH{0x31, 4, 4, RO, 0x00, "port current high byte"};
inline constexpr Register PORT_VOLTAGE_LOW{0x32, 4, 4, RO, 0x00, "port voltage low byte"};
inline constexpr Register PORT_VOLTAGE_HIGH{0x33, 4, 4, RO, 0x00, "port voltage high byte"};
inline constexpr Register THERMAL_STATUS{0x42, 1, 1, RO, 0x00, "thermal status"};
inline constexpr Register DEVICE_ID{0x43, 1, 1, RO, 0x41, "device id and revision"};
inline constexpr Register HIGH_POWER_ENABLE{0x44, 1, 1, RW, 0x00, "high power enable"};
inline constexpr Register HIGH_POWER_MODE{0x46, 4, 5, RW, 0x00, "high power mode"};
inline constexpr Register CURRENT_CUT{0x47, 4, 5, RW, 0xD4, "current cut"};
inline constexpr Register CURRENT_LIMIT{0x48, 4, 5, RW, 0xC0, "current limit"};
inline constexpr Register HIGH_POWER_STATUS{0x49, 4, 5, RO, 0x00, "high power status"};
inline constexpr Register CHIP_TEMPERATURE{0x70, 1, 1, RO, 0x00, "temperature"};
inline constexpr Register MAIN_VOLTAGE_LOW{0x71, 1, 1, RO, 0x00, "main voltage low byte"};
inline constexpr Register MAIN_VOLTAGE_HIGH{0x72, 1, 1, RO, 0x00, "main voltage high byte"};
inline constexpr Register PORT_DETAILS{0x75, 2, 1, RO, 0x00, "port details"};
inline constexpr Register INVALID_SIGNATURES{0x77, 1, 1, RO, 0x00, "invalid signature count"};
inline constexpr Register POWER_DENIALS{0x78, 1, 1, RO, 0x00, "power denied count"};
inline constexpr Register OVERLOADS{0x79, 1, 1, RO, 0x00, "overload count"};
inline constexpr Register UNDERLOADS{0x7A, 1, 1, RO, 0x00, "underload count"};
inline constexpr Register SHORTS{0x7B, 1, 1, RO, 0x00, "short count"};
inline constexpr Register CLASS_ERRORS{0x7C, 1, 1, RO, 0x00, "class error count"};
inline constexpr Register POWER_MANAGEMENT{0x7F, 1, 1, RW, 0x02, "power management calculation"};
inline constexpr Register PORT_PRIORITY{0x80, 1, 1, RW, 0xAA, "port priority"};
inline constexpr Register PORT_POWER_LIMIT{0x81, 4, 1, RW, 0x0F, "port power limit"};
inline constexpr Register TEMPORARY_PORT_POWER_LIMIT{0x85, 4, 1, RW, 0x00, "temporary port power limit"};
inline constexpr Register BANK_POWER_LIMIT{0x89, 8, 1, RW, 0x90, "bank power limit"};
inline constexpr Register ACTIVE_POWER_BANK{0x91, 1, 1, RO, 0x00, "active power bank"};
inline constexpr Register PORT_POWER{0x92, 4, 1, RO, 0x00, "port power consumption"};
inline constexpr Register TOTAL_POWER{0x96, 1, 1, RO, 0x00, "total power consumption"};
inline constexpr Register MINIMUM_VOLTAGE_LOW{0xCB, 1, 1, RW, 0xED, "minimum shutdown voltage low byte"};
inline constexpr Register MINIMUM_VOLTAGE_HIGH{0xCC, 1, 1, RW, 0x00, "minimum shutdown voltage high byte"};

// All of them, in the order of their first addresses.
inline constexpr std::array REGISTERS = {PORT_STATUS,
                                         POWER_STATUS,
                                         OPERATING_MODE,
                                         DISCONNECT_ENABLE,
                                         DETECTION_AND_CLASSIFICATION_ENABLE,
                                         MIDSPAN,
                                         PORT_RESET,
                                         CURRENT_LIMIT_TIMER,
                                         PORT_CURRENT_LOW,
                                         PORT_CURRENT_HIGH,
                                         PORT_VOLTAGE_LOW,
                                         PORT_VOLTAGE_HIGH,
                                         THERMAL_STATUS,
                                         DEVICE_ID,
                                         HIGH_POWER_ENABLE,
                                         HIGH_POWER_MODE,
                                         CURRENT_CUT,
                                         CURRENT_LIMIT,
                                         HIGH_POWER_STATUS,
                                         CHIP_TEMPERATURE,
                                         MAIN_VOLTAGE_LOW,
                                         MAIN_VOLTAGE_HIGH,
                                         PORT_DETAILS,
                                         INVALID_SIGNATURES,
                                         POWER_DENIALS,
                                         OVERLOADS,
                                         UNDERLOADS,
                                         SHORTS,
                                         CLASS_ERRORS,
                                         POWER_MANAGEMENT,
                                         PORT_PRIORITY,
                                         PORT_POWER_LIMIT,
                                         TEMPORARY_PORT_POWER_LIMIT,
                                         BANK_POWER_LIMIT,
                                         ACTIVE_POWER_BANK,
                                         PORT_POWER,
                                         TOTAL_POWER,
                                         MINIMUM_VOLTAGE_LOW,
                                         MINIMUM_VOLTAGE_HIGH};

// The kind that the register at `address` is of; nullptr for an address that the data sheet does not
// describe.
constexpr const Register* registerAt(std::uint8_t address) {
  for (const Register& candidate : REGISTERS) {
    if (candidate.includes(address)) {
      return &candidate;
    }
  }
  return nullptr;
}

// Some bits of one register, which hold a Value: a number, a flag or one of an enumeration.
template <typename Value>
struct Field {
  std::uint8_t address;
  unsigned shift;
  unsigned width;

  constexpr unsigned mask() const { return ((1U << width) - 1U) << shift; }
  constexpr Value in(std::uint8_t contents) const { return static_cast<Value>((contents & mask()) >> shift); }
  // `contents` with the field set to `value`, of which the bits that do not fit are dropped.
  constexpr std::uint8_t put(std::uint8_t contents, Value value) const {
    return static_cast<std::uint8_t>((contents & ~mask()) | (static_cast<unsigned>(value) << shift & mask()));
  }
};

// The same field of each port: of `portsPerRegister` ports in one register, `distance` bits apart.
template <typename Value>
struct PortField {
  Register registers;
  unsigned shift; // of port 0
  unsigned width;
  unsigned portsPerRegister;
  unsigned distance;

  constexpr Field<Value> of(unsigned port) const {
    return {registers.at(port / portsPerRegister), shift + distance * (port % portsPerRegister), width};
  }
};

// Two registers that hold one number.
struct Word {
  std::uint8_t low;
  std::uint8_t high;
  unsigned mask;
  double unit; // what 1 means, in V or A
};

struct PortWord {
  Register low;
  Register high;
  double unit;

  constexpr Word of(unsigned port) const { return {low.at(port), high.at(port), 0xFFFF, unit}; }
};

enum class PortMode : std::uint8_t { Shutdown, Manual, SemiAutomatic, Automatic };

// What detection finds, which is also the signature of what is plugged in.
enum class Detection : std::uint8_t {
  Unknown,
  Short,
  CapacitanceTooHigh,
  ResistanceTooLow,
  Good,
  ResistanceTooHigh,
  OpenCircuit,
  Illegal,
};

enum class Classification : std::uint8_t {
  Unknown,
  Class1,
  Class2,
  Class3,
  Class4,
  Reserved,
  Class0,
  Overcurrent
};

inline constexpr PortField<Detection> DETECTION{PORT_STATUS, 0, 3, 1, 0};
inline constexpr PortField<Classification> CLASSIFICATION{PORT_STATUS, 4, 3, 1, 0};
inline constexpr PortField<bool> POWER_ENABLED{POWER_STATUS, 0, 1, 4, 1};
inline constexpr PortField<bool> POWER_GOOD{POWER_STATUS, 4, 1, 4, 1};
inline constexpr PortField<PortMode> PORT_MODE{OPERATING_MODE, 0, 2, 4, 2};
inline constexpr PortField<bool> DETECTION_ENABLED{DETECTION_AND_CLASSIFICATION_ENABLE, 0, 1, 4, 1};
inline constexpr PortField<bool> CLASSIFICATION_ENABLED{DETECTION_AND_CLASSIFICATION_ENABLE, 4, 1, 4, 1};
inline constexpr PortField<bool> RESET{PORT_RESET, 0, 1, 4, 1};
inline constexpr Field<bool> THERMAL_SHUTDOWN{THERMAL_STATUS.first, 7, 1};
inline constexpr PortField<bool> HIGH_POWER_ENABLED{HIGH_POWER_ENABLE, 0, 1, 4, 1};
inline constexpr PortField<bool> FET_ERROR{HIGH_POWER_STATUS, 1, 1, 1, 0};
inline constexpr Field<unsigned> TEMPERATURE{CHIP_TEMPERATURE.first, 0, 8}; // 0.96 degrees from -27 C on
inline constexpr PortField<bool> OVERTEMPERATURE{PORT_DETAILS, 0, 1, 2, 4};
inline constexpr PortField<bool> DETECTION_FAILED{PORT_DETAILS, 3, 1, 2, 4};
inline constexpr PortField<unsigned> INVALID_SIGNATURE_COUNT{INVALID_SIGNATURES, 0, 2, 4, 2};
inline constexpr PortField<unsigned> POWER_DENIED_COUNT{POWER_DENIALS, 0, 2, 4, 2};
inline constexpr PortField<unsigned> OVERLOAD_COUNT{OVERLOADS, 0, 2, 4, 2};
inline constexpr PortField<unsigned> UNDERLOAD_COUNT{UNDERLOADS, 0, 2, 4, 2};
inline constexpr PortField<unsigned> SHORT_COUNT{SHORTS, 0, 2, 4, 2};
inline constexpr PortField<unsigned> CLASS_ERROR_COUNT{CLASS_ERRORS, 0, 2, 4, 2};
inline constexpr PortField<unsigned> PRIORITY{PORT_PRIORITY, 0, 2, 4, 2}; // 0 is the most important
inline constexpr PortField<unsigned> PORT_LIMIT_W{PORT_POWER_LIMIT, 0, 6, 1, 0};
inline constexpr Field<unsigned> ACTIVE_BANK{ACTIVE_POWER_BANK.first, 3, 4};
inline constexpr PortField<unsigned> CONSUMPTION_W{PORT_POWER, 0, 8, 1, 0};
inline constexpr Field<unsigned> TOTAL_CONSUMPTION_W{TOTAL_POWER.first, 0, 8};

constexpr Field<unsigned> bankLimitW(unsigned bank) {
  return {BANK_POWER_LIMIT.at(bank % BANKS), 0, 8};
}

inline constexpr double DEGREES_PER_UNIT = 0.96;
inline constexpr double DEGREES_AT_ZERO = -27.0;
inline constexpr double VOLTS_PER_UNIT = 0.005835;
inline constexpr double AMPS_PER_UNIT = 0.00012207;
inline constexpr double MINIMUM_VOLTS_PER_UNIT = 0.186;
inline constexpr PortWord PORT_CURRENT{PORT_CURRENT_LOW, PORT_CURRENT_HIGH, AMPS_PER_UNIT};
inline constexpr PortWord PORT_VOLTAGE{PORT_VOLTAGE_LOW, PORT_VOLTAGE_HIGH, VOLTS_PER_UNIT};
inline constexpr Word MAIN_VOLTAGE{MAIN_VOLTAGE_LOW.first, MAIN_VOLTAGE_HIGH.first, 0xFFFF, VOLTS_PER_UNIT};
inline constexpr Word MINIMUM_VOLTAGE{MINIMUM_VOLTAGE_LOW.first, MINIMUM_VOLTAGE_HIGH.first, 0x7FF,
                                      MINIMUM_VOLTS_PER_UNIT};

// Worked values.
constexpr bool isInAddressOrder() {
  for (std::size_t i = 1; i < REGISTERS.size(); ++i) {
    if (REGISTERS[i - 1].first >= REGISTERS[i].first) {
      return false;
    }
  }
  return true;
}
static_assert(isInAddressOrder());
static_assert(registerAt(0x58)->first == HIGH_POWER_STATUS.first && registerAt(0x5D) == nullptr);
static_assert(registerAt(0x90)->first == BANK_POWER_LIMIT.first && registerAt(0x45) == nullptr);
static_assert(DETECTION.of(1).address == 0x0D && DETECTION.of(1).in(0x64) == Detection::Good);
static_assert(CLASSIFICATION.of(1).in(0x64) == Classification::Class0);
static_assert(POWER_GOOD.of(2).put(0x04, true) == 0x44);
static_assert(PORT_MODE.of(3).in(0xC0) == PortMode::Automatic &&
              PORT_MODE.of(3).put(0xFF, PortMode::Shutdown) == 0x3F);
static_assert(FET_ERROR.of(3).address == 0x58 && FET_ERROR.of(3).mask() == 0x02);
static_assert(OVERTEMPERATURE.of(2).address == 0x76 && OVERTEMPERATURE.of(2).mask() == 0x01);
static_assert(DETECTION_FAILED.of(1).address == 0x75 && DETECTION_FAILED.of(1).mask() == 0x80);
static_assert(OVERLOAD_COUNT.of(3).put(0xC0, 3 + 1) == 0x00, "a count wraps within its port");
static_assert(PORT_LIMIT_W.of(3).address == 0x84 && PORT_LIMIT_W.of(3).in(0xFF) == 63);
static_assert(bankLimitW(15).address == 0x90 && ACTIVE_BANK.put(0x07, 15) == 0x7F);
static_assert(PORT_CURRENT.of(3).high == 0x3D && PORT_VOLTAGE.of(3).low == 0x3E);

} // namespace data_sheet

// The values of the registers; none for one that is not known.
using RegisterImage = std::array<std::optional<std::uint8_t>, data_sheet::LAST_REGISTER + 1>;
