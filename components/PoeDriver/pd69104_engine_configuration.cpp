// The engine's handling of configurations: what changed goes to the chip, the whole is kept.
#include "pd69104_engine.h"
#include "power_limits.h"

#include <cstring>

namespace {

constexpr unsigned MODE_OFF = 0;
constexpr unsigned MODE_AUTOMATIC = 3;
constexpr unsigned CURRENT_CUT = 375; // mA

bool differ(const PoePortConfig& a, const PoePortConfig& b) {
  return a.adminEnable != b.adminEnable || a.priority != b.priority || a.powerLimit != b.powerLimit;
}

} // namespace

bool CPD69104Engine::handleConfig(const void* payload, std::size_t /*length*/) {
  if (m_state != EngineState::ACTIVE) {
    return true;
  }
  PoeConfig config;
  std::memcpy(&config, payload, sizeof config);
  const Guard guard(&m_mutex);
  applyConfig(config, false);
  std::memcpy(&m_config, &config, sizeof m_config);
  m_configValid = true;
  return true;
}

bool CPD69104Engine::applyConfig(const PoeConfig& config, bool force) {
  const Guard guard(&m_mutex);
  for (unsigned bank = 0; bank < POE_BANKS; bank++) {
    const std::uint32_t limit = config.bankPowerLimit[bank];
    if (force || limit != m_config.bankPowerLimit[bank]) {
      m_driver->PoeSetBankPowerLimit(bank, effectiveBankLimitW(limit));
    }
  }
  for (unsigned port = 0; port < POE_PORTS; port++) {
    if (force || differ(config.port[port], m_config.port[port])) {
      configurePort(port, config.port[port]);
    }
  }
  return true;
}

// The order matters: a port gets its mode and its limits before detection is switched on, and loses its mode
// first.
bool CPD69104Engine::configurePort(unsigned port, const PoePortConfig& c) {
  const Guard guard(&m_mutex);
  if (c.adminEnable == 0) {
    bool ok = m_driver->PoeSetPortMode(port, MODE_OFF);
    ok &= m_driver->PoeSetDetectionClassification(port, 0);
    return ok;
  }
  bool ok = m_driver->PoeSetPortMode(port, MODE_AUTOMATIC);
  ok &= m_driver->PoeSetPortPriority(port, static_cast<int>(c.priority));
  ok &= m_driver->PoeSetPortPowerLimit(port, effectivePortLimitMw(c.powerLimit), 0);
  ok &= m_driver->PoeSetPortDisconnect(port, 1);
  ok &= m_driver->PoeSetPortMidspan(port, 0);
  ok &= m_driver->PoeSetPortTlim(port, 0);
  ok &= m_driver->PoeSetPortHighPower(port, 1, 1, 0, CURRENT_CUT, 1);
  ok &= m_driver->PoeSetDetectionClassification(port, 1);
  return ok;
}
