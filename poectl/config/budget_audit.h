// The service's audit of the power budget, replayed on a configuration and the state of the ports.
#pragma once

#include "components/PoeDriver/poe_messages.h"

#include <array>
#include <vector>

struct PortState {
  std::uint32_t detection; // the chip's code, 0 to 7
  bool powered;
};

using PortStates = std::array<PortState, POE_PORTS>;

enum class Verdict {
  OFF,              // switched off by the administrator: left as it is
  NOT_DETECTED,     // not detected good: left as it is
  FITS,             // takes its share
  UNPOWERED,        // does not fit, but has no power: left as it is
  RESTARTED,        // does not fit and is powered
  UNKNOWN_PRIORITY, // never served: restarted whatever its state
};

struct AuditStep {
  unsigned port;
  Verdict verdict;
  std::uint32_t need;   // W
  std::uint32_t budget; // W: what was left when the port's turn came
};

struct AuditResult {
  std::uint32_t need;           // W: the sum of all limits, as the service counts them
  bool entered;                 // false when the need is within the limit: nothing is done
  std::vector<AuditStep> steps; // in the order of serving; the ports of no known priority come last
};

// One cycle's audit; every cycle repeats it while nothing changes. `bankLimit` is in W.
AuditResult auditBudget(const PoeConfig& config, std::uint32_t bankLimit, const PortStates& states);

// Whether a step switches its port off and, when it is enabled, on again.
bool restarts(const AuditStep& step);
