// Power management: who may be powered, and who is cut.
#include "simulator/chip/chip_model.h"

#include <algorithm>

namespace {

constexpr double ORDINARY_WATTS = 15.4;
constexpr double HIGH_POWER_WATTS = 36.0;
constexpr unsigned LOWEST_PRIORITY = 3;

} // namespace

// What the port may draw by its class and its own limit.
double ChipModel::allowance(unsigned port) const {
  double byClass = ORDINARY_WATTS;
  switch (m_ports.at(port).device.pdClass) {
  case 1:
    byClass = 4.0;
    break;
  case 2:
    byClass = 7.0;
    break;
  case 4:
    byClass = field(0x44, 1, port) != 0 ? HIGH_POWER_WATTS : ORDINARY_WATTS;
    break;
  default:
    break;
  }
  const double byLimit = field(0x81 + port, 0x3F, 0);
  return std::min(byClass, byLimit);
}

double ChipModel::bankLimit() const {
  return field(0x89 + (activeBank() & 7), 0xFF, 0);
}

// Of the ports with this priority or a higher one.
double ChipModel::delivered(unsigned leastPriority) const {
  double watts = 0.0;
  for (unsigned port = 0; port < PORTS; ++port) {
    const Port& p = m_ports.at(port);
    if (p.phase == Phase::Delivering && priority(port) <= leastPriority) {
      watts += p.device.watts;
    }
  }
  return watts;
}

// 0 is the most important.
unsigned ChipModel::priority(unsigned port) const {
  return field(0x80, 3, 2 * port);
}

// Whether the port may be powered. Ports of a lower priority are cut for it, if that
// makes enough room.
bool ChipModel::grant(unsigned port) {
  const double watts = m_ports.at(port).device.watts;
  if (watts > allowance(port) || delivered(priority(port)) + watts > bankLimit()) {
    return false;
  }
  while (delivered(LOWEST_PRIORITY) + watts > bankLimit()) {
    cutLeastImportant();
  }
  return true;
}

void ChipModel::enforceLimits() {
  for (unsigned port = 0; port < PORTS; ++port) {
    const Port& p = m_ports.at(port);
    if (p.phase == Phase::Delivering && p.device.watts > allowance(port)) {
      count(Event::Overload, port);
      enter(port, Phase::Waiting);
    }
  }
  while (delivered(LOWEST_PRIORITY) > bankLimit()) {
    cutLeastImportant();
  }
}

// At least one port delivers.
void ChipModel::cutLeastImportant() {
  unsigned least = PORTS;
  for (unsigned port = 0; port < PORTS; ++port) {
    if (m_ports.at(port).phase == Phase::Delivering &&
        (least == PORTS || priority(port) >= priority(least))) {
      least = port;
    }
  }
  count(Event::PowerDenied, least);
  enter(least, Phase::Waiting);
}
