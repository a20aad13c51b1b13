// What the console's reports have of a port and the status message does not.
#pragma once

#include "components/PoeDriver/poe_messages.h"
#include "components/PoeDriver/power_limits.h"

#include <optional>
#include <string>

struct PortSettings {
  bool enabled;
  std::uint32_t limit;    // W
  std::uint32_t priority; // 1 is served first
};

// What an unlimited port gets, in W.
constexpr std::uint32_t MAX_PORT_LIMIT_W = MAX_PORT_LIMIT_MW / 1000;

// As the service understands a configuration.
PortSettings settingsOf(const PoePortConfig& config);

// From the console's reply to "poeport P". Nothing when it is another text.
std::optional<PortSettings> parsePortSettings(const std::string& reply);

// The faults that the console's reply to "channel P" shows: "FET error, hot MOSFET"; empty when there are
// none.
std::string parseChannelFaults(const std::string& reply);
