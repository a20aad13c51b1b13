// Power management: which ports may be powered, and which lose their power to load shedding.
#include "simulator/chip/chip_model.h"

#include <algorithm>
#include <array>

namespace {

constexpr std::array<double, 5> CLASS_WATTS = {15.4, 4.0, 7.0, 15.4, 15.4};
constexpr double HIGH_POWER_WATTS = 36.0; // class 4 with high power enabled
constexpr unsigned LOWEST_PRIORITY = 3;

} // namespace

// What the port may draw by its class and its own limit.
double ChipModel::allowance(unsigned port) const {
  const unsigned pdClass = m_ports.at(port).device.pdClass;
  const bool highPower = pdClass == 4 && get(data_sheet::HIGH_POWER_ENABLED.of(port));
  const double byClass = highPower ? HIGH_POWER_WATTS : CLASS_WATTS.at(pdClass);
  const double byLimit = get(data_sheet::PORT_LIMIT_W.of(port));
  return std::min(byClass, byLimit);
}

double ChipModel::bankLimit() const {
  return get(data_sheet::bankLimitW(activeBank()));
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
  return get(data_sheet::PRIORITY.of(port));
}

// Whether the port may be powered. Ports of a lower priority are shed for it, if that makes enough
// room.
bool ChipModel::grant(unsigned port) {
  const double watts = m_ports.at(port).device.watts;
  if (watts > allowance(port) || delivered(priority(port)) + watts > bankLimit()) {
    return false;
  }
  while (delivered(LOWEST_PRIORITY) + watts > bankLimit()) {
    shedLeastImportant();
  }
  return true;
}

void ChipModel::enforceLimits() {
  for (unsigned port = 0; port < PORTS; ++port) {
    const Port& p = m_ports.at(port);
    if (p.phase == Phase::Delivering && p.device.watts > allowance(port)) {
      count(data_sheet::OVERLOAD_COUNT, port);
      enter(port, Phase::ErrorDelay);
    }
  }
  while (delivered(LOWEST_PRIORITY) > bankLimit()) {
    shedLeastImportant();
  }
}

// At least one port delivers.
void ChipModel::shedLeastImportant() {
  unsigned least = PORTS;
  for (unsigned port = 0; port < PORTS; ++port) {
    if (m_ports.at(port).phase == Phase::Delivering &&
        (least == PORTS || priority(port) >= priority(least))) {
      least = port;
    }
  }
  count(data_sheet::POWER_DENIED_COUNT, least);
  enter(least, Phase::ErrorDelay);
}
