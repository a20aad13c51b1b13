#include "poectl/config/service_settings.h"

#include "components/PoeDriver/power_limits.h"

namespace {

// "limit 15 W", "off"; empty when both have the same.
std::string compared(const std::string& what, const std::string& file, const std::string& service) {
  return file == service ? "" : what + ": " + file + " in the file, " + service + " in the service\n";
}

std::string watts(std::uint32_t number) {
  return std::to_string(number) + " W";
}

std::string comparedPort(const std::string& label, const PortDetails& file, const PortDetails& service) {
  const auto word = [](const PortDetails& port) { return *port.enabled ? "on" : "off"; };
  if (!*file.enabled || !*service.enabled) {
    return compared(label, word(file), word(service));
  }
  return compared(label + ", limit", watts(*file.limitW), watts(*service.limitW)) +
         compared(label + ", priority", std::to_string(*file.priority), std::to_string(*service.priority));
}

std::string quotedName(const std::string& name) {
  std::string quoted = "\"";
  for (const char character : name) {
    quoted += character == '"' || character == '\\' ? "\\" : "";
    quoted += character;
  }
  return quoted + "\"";
}

// In mW, so that the service makes the same W of it.
std::uint32_t limitOf(const PortDetails& port) {
  constexpr std::uint32_t LESS_THAN_A_WATT = 999; // a limit of 0 would stand for 40 W
  return *port.enabled && *port.limitW == 0 ? LESS_THAN_A_WATT : *port.limitW * 1000;
}

std::string portTable(unsigned number, const PortDetails& port, const std::string& name) {
  return "\n[port." + std::to_string(number) + "]\n" +
         (name.empty() ? "# name = \"...\"\n" : "name = " + quotedName(name) + "\n") +
         "enable = " + (*port.enabled ? "true" : "false") + "\npriority = " + std::to_string(*port.priority) +
         "\nlimit = " + std::to_string(limitOf(port)) +
         (*port.enabled ? "\n" : " # not known while the port is off\n");
}

} // namespace

std::string differences(const ConfigFile& file, const ServiceSettings& service) {
  std::string text;
  for (unsigned bank = 0; bank < POE_BANKS; bank++) {
    text +=
        compared("bank " + std::to_string(bank), watts(effectiveBankLimitW(file.config.bankPowerLimit[bank])),
                 watts(service.banks[bank]));
  }
  for (unsigned port = 0; port < POE_PORTS; port++) {
    text +=
        comparedPort(portLabel(port, file.names), settingsOf(file.config.port[port]), service.ports[port]);
  }
  return text;
}

std::string configFileOf(const ServiceSettings& service, const PortNames& names, const std::string& time) {
  std::string text = "# The configuration of the running service, read by 'poectl save' at " + time +
                     R"(.
# Its console does not show, so check:
#   - parts of a W: it shows a limit of 15400 mW as 15 W
#   - a limit of 0: it shows 40 W, as for 40000; 0 counts as 0 W in the sum of the limits
#   - limit and priority of a port that is off: those here are left over in the chip
#   - a bank limit above 161 W: it shows 161 W
#   - the names of the ports
#   - what the main process sends and the service does not read

[banks]
)";
  for (unsigned bank = 0; bank < POE_BANKS; bank++) {
    if (bank == 0 || service.banks[bank] != 0) {
      text += "bank" + std::to_string(bank) + " = " + std::to_string(service.banks[bank]) + "\n";
    }
  }
  for (unsigned port = 0; port < POE_PORTS; port++) {
    text += portTable(port, service.ports[port], names[port]);
  }
  parseConfig(text, "the running service as a file");
  return text;
}
