#include "poectl/status/port_label.h"

std::string portLabel(unsigned port, const PortNames& names) {
  const std::string label = "port " + std::to_string(port);
  return names[port].empty() ? label : label + " (" + names[port] + ")";
}
