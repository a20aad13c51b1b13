#include "poectl/console/audit_input.h"

#include "poectl/console/console_client.h"

AuditInput askAuditInput() {
  AuditInput input{parseInfo(askConsole(consoleLine("info"))).bankLimit, {}};
  for (unsigned port = 0; port < input.ports.size(); port++) {
    const ChannelReport channel =
        parseChannel(askConsole(consoleLine("channel " + std::to_string(port))), port);
    input.ports[port] = {channel.detection, channel.enabled};
  }
  return input;
}
