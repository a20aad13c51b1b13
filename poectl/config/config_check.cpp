#include "poectl/config/config_check.h"

#include "components/PoeDriver/power_budget.h"
#include "components/PoeDriver/power_limits.h"

namespace {

std::string watts(std::uint32_t number) {
  return std::to_string(number) + " W";
}

std::string bankLine(unsigned bank, std::uint32_t limit) {
  return "bank " + std::to_string(bank) + ": " + watts(effectiveBankLimitW(limit)) + "\n";
}

std::string portLine(const std::string& label, const PoePortConfig& port) {
  const std::string start = label + ": ";
  if (port.adminEnable == 0) {
    return start + "off\n";
  }
  return start + "on, priority " + std::to_string(port.priority) + ", " +
         watts(effectivePortLimitMw(port.powerLimit) / 1000) +
         (port.powerLimit == 0 ? ", as a limit of 0 means\n" : "\n");
}

std::string sumLine(const PoeConfig& config) {
  const std::uint32_t sum = neededPowerW(config);
  const std::uint32_t bank = effectiveBankLimitW(config.bankPowerLimit[0]);
  return "sum of the limits: " + watts(sum) + " of " + watts(bank) + " in bank 0: " +
         (sum > bank ? "the audit serves the ports by priority, 'poectl explain' shows how\n"
                     : "the audit has nothing to do\n");
}

std::string bankWarnings(unsigned bank, std::uint32_t limit) {
  std::string text;
  const std::string start = "warning: bank " + std::to_string(bank);
  if (limit != effectiveBankLimitW(limit)) {
    text += start + ": " + watts(limit) + " is more than the chip takes: it gets " + watts(MAX_BANK_LIMIT_W) +
            "\n";
  }
  if (bank == MARKER_BANK && limit != 0) {
    text += start + " is not 0: the service takes that for a chip that has lost its configuration and "
                    "rebuilds the chip in every cycle\n";
  }
  return text;
}

std::string portWarnings(const std::string& label, const PoePortConfig& port) {
  const std::string start = "warning: " + label + " ";
  if (port.adminEnable == 0) {
    return port.powerLimit == 0 ? ""
                                : start + "is off, and its limit of " + std::to_string(port.powerLimit) +
                                      " mW still counts in the sum\n";
  }
  if (port.powerLimit == 0) {
    return start + "may take " + watts(MAX_PORT_LIMIT_MW / 1000) + ", and counts as 0 in the sum\n";
  }
  if (port.powerLimit % 1000 != 0) {
    return start + "gets whole watts: " + std::to_string(port.powerLimit) + " mW become " +
           watts(port.powerLimit / 1000) + "\n";
  }
  return "";
}

} // namespace

std::string configText(const PoeConfig& config, const PortNames& names) {
  std::string text;
  std::string warnings;
  for (unsigned bank = 0; bank < POE_BANKS; bank++) {
    const std::uint32_t limit = config.bankPowerLimit[bank];
    text += bank == 0 || limit != 0 ? bankLine(bank, limit) : "";
    warnings += bankWarnings(bank, limit);
  }
  for (unsigned port = 0; port < POE_PORTS; port++) {
    const std::string label = portLabel(port, names);
    text += portLine(label, config.port[port]);
    warnings += portWarnings(label, config.port[port]);
  }
  return text + sumLine(config) + warnings;
}
