// The driver's setters and the default configuration.
#include "diagnostics.h"
#include "pd69104.h"
#include "pd69104_errors.h"
#include "pd69104_registers.h"
#include "power_limits.h"

#include <initializer_list>

namespace {

constexpr unsigned MAX_BANK_POWER = 255; // W
constexpr int MAX_PRIORITY = 3;

constexpr double TLIM_STEP = 1.71; // ms
constexpr unsigned MAX_TLIM_STEPS = 15;

constexpr unsigned MAX_CUT_STEPS = 63;
constexpr double FINE_CUT_STEP = 18.75;  // mA
constexpr double COARSE_CUT_STEP = 37.5; // mA
constexpr unsigned CUT_COARSE = 0x80; // current cut register: bit 7 is always set, bit 6 means the fine range
constexpr unsigned CUT_FINE = 0xC0;

constexpr unsigned LIMIT_OF_MODE[2] = {0xC0, 0x80}; // current limit register for limMode 0 and 1

struct FieldValue {
  BitField field;
  unsigned value;
};

bool isPortRange(unsigned c) {
  return c < CHIP_PORTS || c == ALL_PORTS;
}

// Runs `operation` for one port or for all four in turn; a port that fails does not stop the others.
template <typename Operation>
bool forPorts(unsigned c, Operation operation) {
  const unsigned first = c == ALL_PORTS ? 0 : c;
  const unsigned last = c == ALL_PORTS ? CHIP_PORTS - 1 : c;
  bool ok = true;
  for (unsigned port = first; port <= last; port++) {
    ok &= operation(port);
  }
  return ok;
}

// Reads a register, replaces fields and writes it back; nothing is written when it cannot be read.
bool updateRegister(CPD69104& chip, unsigned address, std::initializer_list<FieldValue> changes) {
  unsigned value = 0;
  if (!chip.PoeReadReg(address, &value)) {
    return false;
  }
  for (const FieldValue& change : changes) {
    value = change.field.set(value, change.value);
  }
  return chip.PoeWriteReg(address, value);
}

bool rejectPort(int line, unsigned c) {
  SOFTWARE_ERROR(DRIVER_PATH, line, "Range Error [c=%d:%d ]\n", CHIP_PORTS, c);
  return false;
}

unsigned tlimSteps(unsigned milliseconds) {
  const unsigned steps =
      static_cast<unsigned>((static_cast<float>(milliseconds) + TLIM_STEP / 2) / TLIM_STEP);
  return steps > MAX_TLIM_STEPS ? MAX_TLIM_STEPS : steps;
}

unsigned currentSteps(unsigned milliAmps, double step) {
  return static_cast<unsigned>((static_cast<float>(milliAmps) + step / 2) / step);
}

// Value of the current cut register. A current beyond the coarse range is reported and cut.
unsigned currentCutValue(unsigned icut) {
  if (icut <= MAX_CUT_STEPS * FINE_CUT_STEP) {
    return Field::CUT_STEPS.set(CUT_FINE, currentSteps(icut, FINE_CUT_STEP));
  }
  unsigned steps = currentSteps(icut, COARSE_CUT_STEP);
  if (steps > MAX_CUT_STEPS) {
    SOFTWARE_ERROR(DRIVER_PATH, DriverLine::HIGH_POWER_CURRENT_CUT,
                   "Range Error: Icut too large, truncated [Icut=%d ]\n", icut);
    steps = MAX_CUT_STEPS;
  }
  return Field::CUT_STEPS.set(CUT_COARSE, steps);
}

bool setCurrentLimit(CPD69104& chip, unsigned port, unsigned limMode) {
  if (limMode > 1) {
    SOFTWARE_ERROR(DRIVER_PATH, DriverLine::HIGH_POWER_LIMIT_MODE, "Illegal mode [0x%x]\n", limMode);
    return false;
  }
  return chip.PoeWriteReg(Register::currentLimit(port), LIMIT_OF_MODE[limMode]);
}

} // namespace

bool CPD69104::PoeSetDefaultConfiguration() {
  if (m_HwOperationMode == FAIL) {
    SOFTWARE_ERROR(DRIVER_PATH, DriverLine::DEFAULT_CONFIGURATION, "Illegal action on a failed driver\n");
    return false;
  }
  syslog(LOG_INFO, "POE now setting default configuration\n");
  bool ok = true;
  for (unsigned port = 0; port < CHIP_PORTS; port++) {
    ok &= PoeSetPortMode(port, 0);
  }
  for (unsigned bank = 0; bank < CHIP_BANKS; bank++) {
    ok &= PoeSetBankPowerLimit(bank, 0);
  }
  if (ok) {
    m_HwOperationMode = NORMAL;
  }
  return ok;
}

bool CPD69104::PoeSetPortMode(unsigned c, unsigned mode) {
  if (!isPortRange(c)) {
    SOFTWARE_ERROR(DRIVER_PATH, DriverLine::SET_PORT_MODE, "Range Error [%d:%d]\n", CHIP_PORTS, c);
    return false;
  }
  return forPorts(c, [&](unsigned port) {
    return updateRegister(*this, Register::OPERATING_MODE, {{Field::TWO_BITS[port], mode}});
  });
}

bool CPD69104::PoeSetDetectionClassification(unsigned c, unsigned enable) {
  if (!isPortRange(c)) {
    return rejectPort(DriverLine::SET_DETECTION_CLASSIFICATION, c);
  }
  return forPorts(c, [&](unsigned port) {
    return updateRegister(*this, Register::DETECTION_CLASSIFICATION,
                          {{Field::LOW_BIT[port], enable}, {Field::HIGH_BIT[port], enable}});
  });
}

bool CPD69104::PoeSetPortDisconnect(unsigned c, unsigned value) {
  if (!isPortRange(c)) {
    return rejectPort(DriverLine::SET_PORT_DISCONNECT, c);
  }
  return forPorts(c, [&](unsigned port) {
    return updateRegister(*this, Register::DISCONNECT, {{Field::LOW_BIT[port], value}});
  });
}

bool CPD69104::PoeSetPortMidspan(unsigned c, unsigned enable) {
  if (!isPortRange(c)) {
    return rejectPort(DriverLine::SET_PORT_MIDSPAN, c);
  }
  return forPorts(c, [&](unsigned port) {
    return updateRegister(*this, Register::MIDSPAN, {{Field::LOW_BIT[port], enable}});
  });
}

bool CPD69104::PoeSetPortTlim(unsigned c, unsigned tlim) {
  if (!isPortRange(c)) {
    return rejectPort(DriverLine::SET_PORT_TLIM, c);
  }
  const unsigned steps = tlimSteps(tlim);
  return forPorts(c, [&](unsigned port) {
    return updateRegister(*this, Register::currentLimitTimer(port), {{Field::NIBBLE[port], steps}});
  });
}

bool CPD69104::PoeSetPortHighPower(unsigned c, unsigned hpEnable, unsigned hpModeBit0, unsigned hpModeBit1,
                                   unsigned icut, unsigned limMode) {
  if (!isPortRange(c)) {
    return rejectPort(DriverLine::SET_PORT_HIGH_POWER, c);
  }
  return forPorts(c, [&](unsigned port) {
    bool ok = updateRegister(*this, Register::HIGH_POWER_ENABLE, {{Field::LOW_BIT[port], hpEnable}});
    ok &= updateRegister(
        *this, Register::highPowerMode(port),
        {{Field::HIGH_POWER_MODE_BIT0, hpModeBit0}, {Field::HIGH_POWER_MODE_BIT1, hpModeBit1}});
    ok &= PoeWriteReg(Register::currentCut(port), currentCutValue(icut));
    ok &= setCurrentLimit(*this, port, limMode);
    return ok;
  });
}

bool CPD69104::PoeSetPortPriority(unsigned c, int pr) {
  if (!isPortRange(c) || pr < 1 || pr > MAX_PRIORITY) {
    SOFTWARE_ERROR(DRIVER_PATH, DriverLine::SET_PORT_PRIORITY, "Range Error [c=%d:%d pr=%d]\n", CHIP_PORTS, c,
                   pr);
    return false;
  }
  return forPorts(c, [&](unsigned port) {
    return updateRegister(*this, Register::PRIORITY,
                          {{Field::TWO_BITS[port], static_cast<unsigned>(pr) - 1}});
  });
}

bool CPD69104::PoeSetPortPowerLimit(unsigned c, unsigned pw, unsigned tpw) {
  if (!isPortRange(c) || pw > MAX_PORT_LIMIT_MW || tpw > MAX_PORT_LIMIT_MW) {
    SOFTWARE_ERROR(DRIVER_PATH, DriverLine::SET_PORT_POWER_LIMIT,
                   "Range Error [c=%d:%d pw=%d:%d tpw=%d:%d]\n", CHIP_PORTS, c, MAX_PORT_LIMIT_MW, pw,
                   MAX_PORT_LIMIT_MW, tpw);
    return false;
  }
  return forPorts(c, [&](unsigned port) {
    bool ok = PoeWriteReg(Register::portPowerLimit(port), pw / 1000);
    ok &= PoeWriteReg(Register::temporaryPortPowerLimit(port), tpw / 1000);
    return ok;
  });
}

bool CPD69104::PoeSetBankPowerLimit(unsigned bank, unsigned powerLimit) {
  if (bank >= CHIP_BANKS || powerLimit > MAX_BANK_POWER) {
    SOFTWARE_ERROR(DRIVER_PATH, DriverLine::SET_BANK_POWER_LIMIT, "Range Error [bank=%d powerLimit=%d]\n",
                   bank, powerLimit);
    return false;
  }
  return PoeWriteReg(Register::bankPowerLimit(bank), powerLimit);
}

bool CPD69104::PoeSetPmCalculationStatic(bool isStatic) {
  return updateRegister(*this, Register::POWER_MANAGEMENT,
                        {{Field::DYNAMIC_CALCULATION, isStatic ? 0U : 1U}});
}

bool CPD69104::PoeResetPorts(unsigned resetBits) {
  syslog(LOG_INFO, "PoeResetPorts resetBits=0x%x\n", resetBits);
  return PoeWriteReg(Register::PORT_RESET, Field::ALL_PORT_RESETS.get(resetBits));
}
