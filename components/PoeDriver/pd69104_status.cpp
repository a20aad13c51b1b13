// The driver's readers, and the conversions from what the chip counts to engineering units.
#include "diagnostics.h"
#include "pd69104.h"
#include "pd69104_errors.h"
#include "pd69104_registers.h"

namespace {

constexpr double VOLTAGE_UNIT = 5.835;          // mV
constexpr double CURRENT_UNIT = 122.07;         // uA
constexpr double SHUTDOWN_VOLTAGE_UNIT = 0.186; // V
constexpr double TEMPERATURE_UNIT = 0.96;       // degrees Celsius
constexpr int TEMPERATURE_OF_ZERO = -27;        // degrees Celsius

double deciVolts(unsigned raw) {
  return raw * VOLTAGE_UNIT / 100.0;
}

double milliAmps(unsigned raw) {
  return raw * CURRENT_UNIT / 1000.0;
}

double shutdownDeciVolts(unsigned raw) {
  return Field::SHUTDOWN_VOLTAGE.get(raw) * SHUTDOWN_VOLTAGE_UNIT * 10.0;
}

// Nearest whole number, halves up: lround of whatever a 16-bit register holds, at a tenth of its cost.
std::uint32_t rounded(double value) {
  // NOLINTNEXTLINE(bugprone-incorrect-roundings): right for all of these, which a test tries.
  return static_cast<std::uint32_t>(static_cast<int>(value + 0.5));
}

int degreesCelsius(unsigned raw) {
  return static_cast<int>(raw * TEMPERATURE_UNIT) + TEMPERATURE_OF_ZERO;
}

// The registers of the raw counts, in the order in which they are read.
struct RawCounter {
  unsigned address;
  std::uint32_t PortCounts::*count;
};

constexpr RawCounter RAW_COUNTERS[] = {
    {Register::INVALID_SIGNATURE_COUNT, &PortCounts::invalidSignatureCount},
    {Register::POWER_DENIED_COUNT, &PortCounts::powerDeniedCount},
    {Register::OVERLOAD_COUNT, &PortCounts::overLoadCount},
    {Register::UNDERLOAD_COUNT, &PortCounts::underLoadCount},
    {Register::SHORT_COUNT, &PortCounts::shortCount},
    {Register::CLASS_ERROR_COUNT, &PortCounts::classErrorCount},
};

// Hands what was read to `store`. False when the read failed.
template <typename Store>
bool handed(int value, Store store) {
  if (value < 0) {
    return false;
  }
  store(static_cast<unsigned>(value));
  return true;
}

} // namespace

template <typename Store>
bool CPD69104::read(unsigned address, Store store) {
  return handed(readByte(address), store);
}

template <typename Store>
bool CPD69104::read16(unsigned address, Store store) {
  return handed(readWord(address), store);
}

bool CPD69104::PoeGetChannelStatus(unsigned channel, ChannelStatus* status) {
  if (status == nullptr || channel >= CHIP_PORTS) {
    SOFTWARE_ERROR(DRIVER_PATH, DriverLine::GET_CHANNEL_STATUS,
                   "Range Error [channel=%d:%d channel_status=0x%x]\n", CHIP_PORTS, channel,
                   pointerBits(status));
    return false;
  }
  bool ok = read(Register::POWER_STATUS, [&](unsigned value) {
    status->enable = Field::LOW_BIT[channel].get(value) != 0;
    status->power_good = Field::HIGH_BIT[channel].get(value) != 0;
  });
  ok &= read(Register::portStatus(channel), [&](unsigned value) {
    status->det_status = Field::DETECTION_STATUS.get(value);
    status->pclass = Field::CLASSIFICATION.get(value);
  });
  ok &= read(Register::highPowerStatus(channel),
             [&](unsigned value) { status->fet_error = Field::FET_ERROR.get(value) != 0; });
  ok &= read(Register::portDetails(channel), [&](unsigned value) {
    const unsigned details = Field::NIBBLE[channel].get(value);
    status->mosfet_overtemperature = Field::MOSFET_OVERTEMPERATURE.get(details) != 0;
    status->in_pm_mode = Field::IN_PM_MODE.get(details) != 0;
    status->passed_MSCC_cap_det = Field::PASSED_MSCC_CAP_DET.get(details) != 0;
    status->det_fail = Field::DET_FAIL.get(details) != 0;
  });
  return ok;
}

bool CPD69104::PoeGetChannelCounts(ChannelCounts* counts) {
  if (counts == nullptr) {
    SOFTWARE_ERROR(DRIVER_PATH, DriverLine::GET_CHANNEL_COUNTS, "Range Error [channel_counts=0x%x]\n", 0);
    return false;
  }
  bool ok = true;
  for (const RawCounter& counter : RAW_COUNTERS) {
    ok &= read(counter.address, [&](unsigned value) {
      for (unsigned port = 0; port < CHIP_PORTS; port++) {
        (*counts)[port].*counter.count = Field::TWO_BITS[port].get(value);
      }
    });
  }
  return ok;
}

bool CPD69104::PoeGetMeasurements(unsigned channel, PortMeasurements* m) {
  if (m == nullptr || channel >= CHIP_PORTS) {
    // Kept: unlike in the other readers' reports the port comes before the number of ports.
    SOFTWARE_ERROR(DRIVER_PATH, DriverLine::GET_MEASUREMENTS,
                   "Range Error [channel=%d:%d measurements=0x%x]\n", channel, CHIP_PORTS, pointerBits(m));
    return false;
  }
  bool ok =
      read16(Register::MAIN_VOLTAGE, [&](unsigned value) { m->main_voltage = rounded(deciVolts(value)); });
  ok &= read16(Register::portVoltage(channel),
               [&](unsigned value) { m->port_voltage = rounded(deciVolts(value)); });
  ok &= read16(Register::portCurrent(channel),
               [&](unsigned value) { m->port_current = rounded(milliAmps(value)); });
  ok &= read(Register::portPower(channel), [&](unsigned value) { m->power_consumption = value; });
  return ok;
}

bool CPD69104::PoeGetPortPriority(unsigned channel, unsigned* priority) {
  if (priority == nullptr || channel >= CHIP_PORTS) {
    SOFTWARE_ERROR(DRIVER_PATH, DriverLine::GET_PORT_PRIORITY, "Range Error [channel=%d:%d priority=0x%x]\n",
                   CHIP_PORTS, channel, pointerBits(priority));
    return false;
  }
  return read(Register::PRIORITY, [&](unsigned value) { *priority = Field::TWO_BITS[channel].get(value); });
}

bool CPD69104::PoeGetPortPowerLimit(unsigned channel, PortPowerLimits* limits) {
  if (limits == nullptr || channel >= CHIP_PORTS) {
    SOFTWARE_ERROR(DRIVER_PATH, DriverLine::GET_PORT_POWER_LIMIT,
                   "Range Error [channel=%d:%d power_limit=0x%x]\n", CHIP_PORTS, channel,
                   pointerBits(limits));
    return false;
  }
  bool ok = read(Register::portPowerLimit(channel),
                 [&](unsigned value) { limits->pw = Field::POWER_LIMIT.get(value); });
  ok &= read(Register::temporaryPortPowerLimit(channel),
             [&](unsigned value) { limits->tpw = Field::POWER_LIMIT.get(value); });
  return ok;
}

bool CPD69104::PoeGetPortMode(unsigned c, unsigned* mode) {
  if (c >= CHIP_PORTS) {
    SOFTWARE_ERROR(DRIVER_PATH, DriverLine::GET_PORT_MODE, "Range Error [%d:%d]\n", CHIP_PORTS, c);
    return false;
  }
  return read(Register::OPERATING_MODE, [&](unsigned value) { *mode = Field::TWO_BITS[c].get(value); });
}

bool CPD69104::PoeGetDeviceStatus(DeviceStatus* status) {
  bool ok = read(Register::DEVICE_ID, [&](unsigned value) {
    status->device_id = Field::ID.get(value);
    status->device_revision = Field::REVISION.get(value);
  });
  status->temperature = 0;
  ok &= read(Register::TEMPERATURE, [&](unsigned value) { status->temperature = degreesCelsius(value); });
  ok &= read(Register::THERMAL_STATUS,
             [&](unsigned value) { status->thermal_shutdown = Field::THERMAL_SHUTDOWN.get(value) != 0; });
  status->hwOperationMode = m_HwOperationMode;
  status->dev_error = m_poeError;
  status->device_errorcount = m_poeErrorCount;
  return ok;
}

bool CPD69104::PoeGetPowerStatus(PowerStatus* status) {
  if (status == nullptr) {
    SOFTWARE_ERROR(DRIVER_PATH, DriverLine::GET_POWER_STATUS, "NULL pointer parameter\n");
    return false;
  }
  bool ok = read(Register::TOTAL_POWER, [&](unsigned value) { status->power_consumption = value; });
  // Kept: a bank that cannot be read is not a failure; the last known one stands.
  PoeGetPowerBank(&status->power_bank);
  ok &= read(Register::bankPowerLimit(Field::BANK_WITH_LIMIT.get(status->power_bank)),
             [&](unsigned value) { status->power_limit = value; });
  ok &= read16(Register::MAIN_VOLTAGE,
               [&](unsigned value) { status->main_voltage = rounded(deciVolts(value)); });
  ok &= read16(Register::MINIMUM_SHUTDOWN_VOLTAGE,
               [&](unsigned value) { status->min_shutdown_voltage = rounded(shutdownDeciVolts(value)); });
  return ok;
}

bool CPD69104::PoeGetPowerBank(unsigned* bank) {
  if (bank == nullptr) {
    SOFTWARE_ERROR(DRIVER_PATH, DriverLine::GET_POWER_BANK, "NULL pointer parameter\n");
    return false;
  }
  return read(Register::ACTIVE_BANK, [&](unsigned value) { *bank = Field::BANK.get(value); });
}

bool CPD69104::PoeGetBankPowerLimit(unsigned bank, unsigned* limit) {
  if (bank >= CHIP_BANKS) {
    SOFTWARE_ERROR(DRIVER_PATH, DriverLine::GET_BANK_POWER_LIMIT, "Range Error [bank=%d]\n", bank);
    return false;
  }
  return PoeReadReg(Register::bankPowerLimit(bank), limit);
}

bool CPD69104::PoeGetPmCalculationStatic(bool* isStatic) {
  return read(Register::POWER_MANAGEMENT,
              [&](unsigned value) { *isStatic = Field::DYNAMIC_CALCULATION.get(value) == 0; });
}
