// The rule of the power budget, written down a second time.
#pragma once

#include "components/PoeDriver/poe_messages.h"

#include <array>
#include <cstdint>

// What the chip shows of a port.
struct ModelPortPower {
  unsigned detection;
  bool isPowered;
};

// The ports that are switched off and on again, when the limits exceed the budget in W.
std::array<bool, 4> restartedPorts(const PoeConfig& config, std::uint32_t budget,
                                   const std::array<ModelPortPower, 4>& ports);
