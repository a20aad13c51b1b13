// A card for the fault tests: registers of a chip that powers two ports, a configuration for it, and what
// both must look like when a fault has been overcome.
#pragma once

#include "components/PoeDriver/poe_messages.h"
#include "tests/support/doubles/i2c_bus.h"
#include "tests/support/model/service_pair.h"

#include <string>

// Ports 0 to 2 are switched on and fit into bank 3, the active one.
PoeConfig fittingConfig();

// The chip powers ports 0 and 1; its other ports show faults of several kinds.
void setPoweredPorts(RegisterFile& registers);

// The registers that the service writes, as a chip has them that has been without power.
void loseConfiguration(RegisterFile& registers);

// The status with its event counters at 0.
PoeStatus withoutCounters(PoeStatus status);

// What a healed service looks like: the first one that it is shown, which must hold its configuration, is
// what all others must look like.
class Healed {
public:
  void forget() { m_image.clear(); }

  // Empty when nothing differs. Counters are not looked at.
  std::string differs(const ServicePair& pair, RegisterFile& registers, const PoeConfig& config);

private:
  std::string m_image;
  PoeStatus m_status{};
};
