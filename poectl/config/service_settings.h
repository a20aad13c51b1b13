// The configuration of the running service as far as its console shows it.
#pragma once

#include "poectl/config/config_file.h"
#include "poectl/status/snapshot.h"

#include <array>
#include <string>

struct ServiceSettings {
  std::array<std::uint32_t, POE_BANKS> banks; // W
  std::array<PortDetails, POE_PORTS>
      ports; // enabled, limitW and priority are there; the last two of one that is off are not in use
};

// One line for each difference between a file and the service; empty when there is none. Limits are compared
// in whole W; limit and priority only of ports that are on in both.
std::string differences(const ConfigFile& file, const ServiceSettings& service);

// A configuration file for these settings, with comments on what the console does not show. `time` is
// isoTime(). Throws ConfigError for settings that no file can hold.
std::string configFileOf(const ServiceSettings& service, const PortNames& names, const std::string& time);
