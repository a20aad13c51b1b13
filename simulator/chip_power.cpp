// Power management: who may be powered, and who is cut.
#include "simulator/chip_model.h"

#include <algorithm>

namespace {

constexpr double ORDINARY_WATTS = 15.4;
constexpr double HIGH_POWER_WATTS = 36.0;

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
  const unsigned bank = field(0x91, 0x0F, 3);
  return field(0x89 + (bank & 7), 0xFF, 0);
}

double ChipModel::delivered() const {
  double watts = 0.0;
  for (const Port& port : m_ports) {
    watts += port.phase == Phase::Delivering ? port.device.watts : 0.0;
  }
  return watts;
}

// 0 is the most important.
unsigned ChipModel::priority(unsigned port) const {
  return field(0x80, 3, 2 * port);
}

bool ChipModel::granted(unsigned port) const {
  const double watts = m_ports.at(port).device.watts;
  return watts <= allowance(port) && delivered() + watts <= bankLimit();
}

void ChipModel::enforceLimits() {
  for (unsigned port = 0; port < PORTS; ++port) {
    const Port& p = m_ports.at(port);
    if (p.phase == Phase::Delivering && p.device.watts > allowance(port)) {
      count(Event::Overload, port);
      enter(port, Phase::Waiting);
    }
  }
  while (delivered() > bankLimit()) {
    const unsigned port = leastImportantDelivering();
    count(Event::PowerDenied, port);
    enter(port, Phase::Waiting);
  }
}

unsigned ChipModel::leastImportantDelivering() const {
  unsigned least = PORTS;
  for (unsigned port = 0; port < PORTS; ++port) {
    if (m_ports.at(port).phase == Phase::Delivering &&
        (least == PORTS || priority(port) >= priority(least))) {
      least = port;
    }
  }
  return least;
}
