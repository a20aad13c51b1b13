// The two checks at the start of every cycle: does the chip still hold its configuration, and do the
// configured ports fit the power budget. Both run under the engine mutex.
#include "pd69104_engine.h"

#include <syslog.h>

// The priorities in the order in which they are served.
static constexpr std::uint32_t priorityOrder[] = {1, 2, 3};

namespace {

// The default configuration leaves this bank's limit at 0: any other value marks a chip that has lost its
// configuration. The main process must therefore keep it at 0.
constexpr unsigned MARKER_BANK = 7;

constexpr std::uint32_t DETECTION_GOOD = 4;
constexpr unsigned EVERY_PORT = 0x0F;

constexpr unsigned bit(unsigned port) {
  return 1U << port;
}

} // namespace

bool CPD69104Engine::checkChip() {
  unsigned marker = 0;
  if (!m_driver->PoeGetBankPowerLimit(MARKER_BANK, &marker)) {
    m_status.mainOperStatus = MainOperStatus::UNREACHABLE;
    return true;
  }
  m_status.mainOperStatus = MainOperStatus::RUNNING;
  if (marker == 0) {
    DeviceStatus device{};
    m_driver->PoeGetDeviceStatus(&device); // the mode is current whether or not the chip answers
    if (device.hwOperationMode != IDLE) {
      return true;
    }
  }
  syslog(LOG_INFO, "PD69104 POE chip not initialised, excuting (re)init now!!"); // kept: this spelling
  initialiseChip();
  if (m_configValid) {
    applyConfig(m_config, true);
  }
  return true;
}

bool CPD69104Engine::audit() {
  if (exceedsBudget()) {
    restartPorts(portsToRestart());
  }
  return true;
}

// Kept: a limit of 0, which gives the port the most it may have, counts as 0 here, and ports that are
// switched off count as well.
bool CPD69104Engine::exceedsBudget() const {
  std::uint32_t need = 0; // mW
  for (const PoePortConfig& port : m_config.port) {
    need += port.powerLimit;
  }
  return need / 1000 > m_power.power_limit;
}

// The set of ports to switch off and on again, as bits. A port of no known priority is always among them.
unsigned CPD69104Engine::portsToRestart() const {
  std::uint32_t budget = m_power.power_limit; // W
  unsigned restartMask = EVERY_PORT;
  for (const std::uint32_t priority : priorityOrder) {
    for (unsigned port = 0; port < POE_PORTS; port++) {
      if (m_config.port[port].priority == priority && keepsRunning(port, &budget)) {
        restartMask &= ~bit(port);
      }
    }
  }
  return restartMask;
}

// Whether a port is to be left as it is; one that fits takes its share of *budget.
bool CPD69104Engine::keepsRunning(unsigned port, std::uint32_t* budget) const {
  if (m_config.port[port].adminEnable == 0 || m_channel[port].det_status != DETECTION_GOOD) {
    return true;
  }
  const std::uint32_t portNeed = m_config.port[port].powerLimit / 1000; // W
  if (portNeed <= *budget) {
    *budget -= portNeed;
    return true;
  }
  return !m_channel[port].enable;
}

// All ports go off before the first comes on again, so that the chip decides about them afresh.
void CPD69104Engine::restartPorts(unsigned restartMask) {
  for (unsigned port = 0; port < POE_PORTS; port++) {
    if ((restartMask & bit(port)) != 0) {
      syslog(LOG_INFO, "CPD69104Engine::audit restarting Port %d\n", port);
      PoePortConfig off = m_config.port[port];
      off.adminEnable = 0;
      configurePort(port, off);
    }
  }
  for (unsigned port = 0; port < POE_PORTS; port++) {
    if ((restartMask & bit(port)) != 0 && m_configValid && m_config.port[port].adminEnable != 0) {
      configurePort(port, m_config.port[port]);
    }
  }
}
