// Driver of one PD69104 Power-over-Ethernet controller (four ports) on a Linux I2C adapter.
//
// The driver owns its file descriptor and nothing else; it allocates nothing and throws nothing. It has no
// lock: callers serialise all use of one object, since an update of a register and a 16-bit read are several
// transfers.
//
// Results: every operation that touches the chip returns true when each of its transfers succeeded, and false
// when a transfer failed or an argument was rejected. A rejected argument is reported to the log each time
// and costs no transfer. After a failed transfer an operation carries on with the rest of its work; a field
// of an output record whose reading failed keeps its value. Only the first failed transfer of an episode is
// reported and counted; the next good transfer ends the episode.
//
// Ports are numbered 0 to 3 (the chip's ports 1 to 4). The setters also take ALL_PORTS: ports 0, 1, 2, 3 in
// turn.
#pragma once

#include <cstdint>

union i2c_smbus_data; // <linux/i2c.h>

constexpr unsigned ALL_PORTS = 127;

enum HwOperationMode : std::int32_t {
  IDLE = 0,     // chip not, or no longer, configured
  NORMAL = 1,   // the default configuration has been written completely
  SELFTEST = 2, // set by no operation
  FAIL = 255    // the I2C device could not be opened or bound
};

// State of one port.
struct ChannelStatus {
  bool enable;     // power output switched on
  bool power_good; // power good
  // Detection: 0 unknown, 1 short, 2 capacitance too high, 3 signature resistance too low, 4 good,
  // 5 signature resistance too high, 6 open circuit, 7 not defined.
  std::uint32_t det_status;
  // Classification: 0 unknown, 1 to 4 class 1 to 4, 5 reserved, 6 class 0, 7 overcurrent.
  std::uint32_t pclass;
  bool fet_error;
  bool mosfet_overtemperature;
  bool in_pm_mode;
  bool passed_MSCC_cap_det;
  bool det_fail;
};
static_assert(sizeof(ChannelStatus) == 20);

// Event counts of one port, each 0 to 3; the chip's counters wrap at 4.
struct PortCounts {
  std::uint32_t invalidSignatureCount;
  std::uint32_t powerDeniedCount;
  std::uint32_t overLoadCount;
  std::uint32_t underLoadCount;
  std::uint32_t shortCount;
  std::uint32_t classErrorCount;
};

// The counts of all ports; an index is a port, 0 to 3.
struct ChannelCounts {
  PortCounts port[4];

  PortCounts& operator[](unsigned index) { return port[index]; }
  const PortCounts& operator[](unsigned index) const { return port[index]; }
};
static_assert(sizeof(ChannelCounts) == 96);

// Measurements of one port.
struct PortMeasurements {
  std::uint32_t main_voltage;      // dV
  std::uint32_t port_voltage;      // dV
  std::uint32_t port_current;      // mA
  std::uint32_t power_consumption; // W
};

// Power limits of one port as the chip holds them, 0 to 63 W.
struct PortPowerLimits {
  std::uint32_t pw;  // W: port power limit
  std::uint32_t tpw; // W: temporary port power limit
};

// State of the chip, and of the driver itself.
struct DeviceStatus {
  std::int32_t hwOperationMode;    // HwOperationMode of the driver
  bool dev_error;                  // the last transfer failed
  std::uint32_t device_errorcount; // episodes of failed transfers so far
  std::uint32_t device_id;         // 0 to 7
  std::uint32_t device_revision;   // 0 to 7
  std::int32_t temperature;        // degrees Celsius
  bool thermal_shutdown;
};

// State of the chip's power management.
struct PowerStatus {
  std::uint32_t power_consumption;    // W: all ports
  std::uint32_t power_bank;           // active bank, 0 to 15 as read
  std::uint32_t power_limit;          // W: limit of the active bank
  std::uint32_t main_voltage;         // dV
  std::uint32_t min_shutdown_voltage; // dV
};

class CPD69104 {
public:
  // Opens "/dev/i2c-<adapterNr>" and binds it to the chip's 7-bit address. A failure is reported to the log
  // and recorded in the driver's state; the object can be used all the same, its transfers then fail.
  CPD69104(int adapterNr, unsigned slaveAddress);
  CPD69104(const CPD69104&) = delete;
  CPD69104& operator=(const CPD69104&) = delete;
  virtual ~CPD69104();

  // ---- Registers
  // -------------------------------------------------------------------------------------------------

  // Bookkeeping of the error flag, for the constructor and the three operations below: a flag that rises is
  // counted and sets the mode to IDLE.
  void SetPoeError(bool error);

  // Writes the low 8 bits of `value` to register `address` (0 to 0xCE).
  bool PoeWriteReg(unsigned address, unsigned value);

  // Reads register `address` (0 to 0xCE) into *result (0 to 255).
  bool PoeReadReg(unsigned address, unsigned* result);

  // Reads registers `address` (0 to 0xCE, low byte) and `address` + 1 (high byte) into *result. The two
  // transfers are both made, also when the first fails; the value may change between them.
  bool PoeReadReg16(unsigned address, unsigned* result);

  // Writes the driver's state as text into `buf`, cut at `size` - 1 characters and ended by NUL. False when
  // `buf` is null. Makes no transfer.
  bool PoeDriverInfo(char* buf, int size);

  // ---- Configuration
  // ---------------------------------------------------------------------------------------------

  // Switches every port off and sets all eight bank limits to 0; everything is tried even when a part fails.
  // Success sets the mode to NORMAL. Refused in mode FAIL.
  bool PoeSetDefaultConfiguration();

  // Operating mode: 0 off, 3 automatic; cut to two bits.
  bool PoeSetPortMode(unsigned c, unsigned mode);

  // Detection and classification, both on or off: bit 0 of `enable`.
  bool PoeSetDetectionClassification(unsigned c, unsigned enable);

  // Disconnection of a port whose device is gone: bit 0 of `value`.
  bool PoeSetPortDisconnect(unsigned c, unsigned value);

  // Midspan: bit 0 of `enable`.
  bool PoeSetPortMidspan(unsigned c, unsigned enable);

  // Current-limit timer in ms: rounded to steps of 1.71 ms, at most 15 steps.
  bool PoeSetPortTlim(unsigned c, unsigned tlim);

  // High-power settings: bit 0 of hpEnable, hpModeBit0 and hpModeBit1. `icut` is in mA; it is rounded to
  // steps of 18.75 mA up to 1181 mA and of 37.5 mA above. More than 63 steps are reported and cut to 63.
  // `limMode` is 0 or 1; any other value is reported for each port, and the call fails after it has written
  // the other settings.
  bool PoeSetPortHighPower(unsigned c, unsigned hpEnable, unsigned hpModeBit0, unsigned hpModeBit1,
                           unsigned icut, unsigned limMode);

  // Priority 1 (served first) to 3. Note that PoeGetPortPriority returns one less.
  bool PoeSetPortPriority(unsigned c, int pr);

  // Power limit and temporary power limit in mW, each 0 to 40000; cut to whole W.
  bool PoeSetPortPowerLimit(unsigned c, unsigned pw, unsigned tpw);

  // Limit of power bank 0 to 7 in W, 0 to 255.
  bool PoeSetBankPowerLimit(unsigned bank, unsigned powerLimit);

  // How the chip's power management reckons: with the configured limits (static) or with the measured
  // consumption.
  bool PoeSetPmCalculationStatic(bool isStatic);

  // Resets the ports whose bits 0 to 3 are set in `resetBits`. No part of this service calls it.
  bool PoeResetPorts(unsigned resetBits);

  // ---- Status
  // ----------------------------------------------------------------------------------------------------

  bool PoeGetChannelStatus(unsigned channel, ChannelStatus* status);
  bool PoeGetChannelCounts(ChannelCounts* counts); // all four ports
  bool PoeGetMeasurements(unsigned channel, PortMeasurements* m);
  bool PoeGetPortPriority(unsigned channel, unsigned* priority); // 0 to 2: one less than was set
  bool PoeGetPortPowerLimit(unsigned channel, PortPowerLimits* limits);

  // No part of this service calls it. `mode` must not be null.
  bool PoeGetPortMode(unsigned c, unsigned* mode);

  // On failure the three fields of the driver's own state are current all the same, and `temperature` is 0
  // when it could not be read. `status` must not be null.
  bool PoeGetDeviceStatus(DeviceStatus* status);

  // A failure to read the active bank alone is not reported: the limit read is then that of
  // status->power_bank as the caller passed it.
  bool PoeGetPowerStatus(PowerStatus* status);
  bool PoeGetPowerBank(unsigned* bank); // 0 to 15
  bool PoeGetBankPowerLimit(unsigned bank, unsigned* limit);

  // `isStatic` must not be null.
  bool PoeGetPmCalculationStatic(bool* isStatic);

private:
  bool openAdapter();
  bool bindAddress();
  int transfer(char readWrite, unsigned address, i2c_smbus_data* block) const;
  int transferIn(unsigned address) const;
  // PoeReadReg and PoeReadReg16 of an address in range: the value, or a negative number after a failure.
  int readByte(unsigned address);
  int readWord(unsigned address);
  // Hand to `store` what was read. False when the read failed.
  template <typename Store>
  bool read(unsigned address, Store store);
  template <typename Store>
  bool read16(unsigned address, Store store);
  bool succeeded();
  // Cold, so that the compiler keeps the reports out of the way of what goes well.
  [[gnu::cold]] bool failedAt(int line, unsigned address);
  [[gnu::cold]] bool rejectRead(int line, unsigned address, const unsigned* result) const;

  std::uint32_t m_i2c_address;
  std::int32_t m_i2c_file;
  std::int32_t m_i2c_adapter_nr;
  char m_i2c_filename[20];
  bool m_poeError;
  std::uint32_t m_poeErrorCount;
  std::int32_t m_HwOperationMode; // HwOperationMode
};
