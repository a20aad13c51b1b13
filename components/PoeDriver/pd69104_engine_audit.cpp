// The two checks at the start of every cycle: does the chip still hold its configuration, and do the
// configured ports fit the power budget. Both run under the engine mutex.
#include "pd69104_engine.h"
#include "power_budget.h"
#include "power_limits.h"

#include <syslog.h>

namespace {

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
  if (neededPowerW(m_config) > m_power.power_limit) {
    restartPorts(portsToRestart());
  }
  return true;
}

// The set of ports to switch off and on again, as bits.
unsigned CPD69104Engine::portsToRestart() const {
  PortPowerStates states{};
  for (unsigned port = 0; port < POE_PORTS; port++) {
    states[port] = {m_channel[port].det_status, m_channel[port].enable};
  }
  unsigned restartMask = 0;
  for (const PowerDecision& decision : decidePower(m_config, m_power.power_limit, states)) {
    restartMask |= isRestarted(decision.verdict) ? bit(decision.port) : 0;
  }
  return restartMask;
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
