// What the administrator has set for a port.
#pragma once

#include "components/PoeDriver/poe_messages.h"
#include "components/PoeDriver/power_limits.h"

struct PortSettings {
  bool enabled;
  std::uint32_t limit;    // W
  std::uint32_t priority; // 1 is served first
};

// What an unlimited port gets, in W.
constexpr std::uint32_t MAX_PORT_LIMIT_W = MAX_PORT_LIMIT_MW / 1000;

// As the service understands a configuration.
constexpr PortSettings settingsOf(const PoePortConfig& config) {
  return {config.adminEnable != 0, effectivePortLimitMw(config.powerLimit) / 1000, config.priority};
}
