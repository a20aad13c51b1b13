#include "poectl/console/ask_settings.h"

#include "poectl/console/console_client.h"

ServiceSettings askServiceSettings() {
  ServiceSettings settings{parseInfo(askConsole(consoleLine("info"))).bankRegisters, {}};
  for (unsigned port = 0; port < POE_PORTS; port++) {
    const std::string number = std::to_string(port);
    PortDetails& details = settings.ports[port];
    addSettings(details, parsePoePort(askConsole(consoleLine("poeport " + number)), port));
    if (!details.limitW || !details.priority) {
      throw ConsoleError("the service could not read limit and priority of port " + number +
                         " from the chip");
    }
  }
  return settings;
}
