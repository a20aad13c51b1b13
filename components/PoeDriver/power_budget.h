// The power budget: which ports keep their power when the configured limits exceed what the active bank
// allows.
//
// Pure functions of a configuration, the bank's limit and the state of the ports. The engine's audit acts on
// the verdicts, other programs explain them. For use from any thread.
#pragma once

#include "poe_messages.h"

#include <array>
#include <cstdint>

// What the chip shows of a port.
struct PortPowerState {
  std::uint32_t detection; // DetectionStatus
  bool powered;
};

using PortPowerStates = std::array<PortPowerState, POE_PORTS>;

enum class PowerVerdict {
  OFF,              // switched off by the administrator: left as it is
  NOT_DETECTED,     // detection is not good: left as it is
  FITS,             // takes its share
  UNPOWERED,        // does not fit, but has no power: left as it is
  RESTARTED,        // does not fit and is powered: switched off and on again
  UNKNOWN_PRIORITY, // never served: switched off in any state, and on again when it is enabled
};

struct PowerDecision {
  unsigned port;
  PowerVerdict verdict;
  std::uint32_t needW;
  std::uint32_t leftW; // of the bank's limit when the port's turn came
};

// In the order of serving: by priority, then by port number. Ports of no known priority come last.
using PowerDecisions = std::array<PowerDecision, POE_PORTS>;

// The sum of the configured limits in W. Kept: a limit of 0, which gives the port the most it may have,
// counts as 0, and ports that are switched off count as well.
std::uint32_t neededPowerW(const PoeConfig& config);

// The verdict on each port. Only meaningful when neededPowerW exceeds `bankLimitW`: otherwise every port
// keeps its power and no verdict is asked for.
PowerDecisions decidePower(const PoeConfig& config, std::uint32_t bankLimitW, const PortPowerStates& states);

// True when the verdict switches the port off and, if it is enabled, on again.
constexpr bool isRestarted(PowerVerdict verdict) {
  return verdict == PowerVerdict::RESTARTED || verdict == PowerVerdict::UNKNOWN_PRIORITY;
}
