#include "tests/budget/budget_properties.h"

namespace {

constexpr std::uint32_t GOOD = 4;

bool isKnown(std::uint32_t priority) {
  return priority >= 1 && priority <= 3;
}

// Where a port is served: by priority, then by number.
unsigned rank(const PoeConfig& config, unsigned port) {
  const std::uint32_t priority = config.port[port].priority;
  return (isKnown(priority) ? priority : 4) * 4 + port;
}

bool isEligible(const PoeConfig& config, const PortPowerStates& states, unsigned port) {
  return config.port[port].adminEnable != 0 && states[port].detection == GOOD &&
         isKnown(config.port[port].priority);
}

const char* brokenByOne(const PoeConfig& config, const PortPowerStates& states,
                        const PowerDecision& decision) {
  const bool isGranted = decision.verdict == PowerVerdict::FITS;
  if (!isKnown(config.port[decision.port].priority)) {
    return !isGranted && isRestarted(decision.verdict) ? nullptr : "an unknown priority is restarted";
  }
  if (!isEligible(config, states, decision.port)) {
    return isGranted || isRestarted(decision.verdict) ? "a port that is off or not detected is left alone"
                                                      : nullptr;
  }
  if (isGranted != (decision.needW <= decision.leftW)) {
    return "whoever fits stays, and nobody else";
  }
  return isRestarted(decision.verdict) == (!isGranted && states[decision.port].powered)
             ? nullptr
             : "of those that do not fit, the powered ones are restarted";
}

// What ports that are decided one after the other, and all together, must keep.
const char* brokenByOrder(const PoeConfig& config, const PowerDecisions& decisions) {
  for (unsigned i = 0; i < POE_PORTS; i++) {
    const PowerDecision& earlier = decisions[i];
    if (i > 0 && rank(config, decisions[i - 1].port) >= rank(config, earlier.port)) {
      return "each port is decided once, by priority and number";
    }
    const bool isCut =
        earlier.verdict == PowerVerdict::RESTARTED || earlier.verdict == PowerVerdict::UNPOWERED;
    for (unsigned j = i + 1; j < POE_PORTS; j++) {
      if (isCut && decisions[j].verdict == PowerVerdict::FITS && decisions[j].needW >= earlier.needW) {
        return "a port yields to a later one only when that one needs less";
      }
    }
  }
  return nullptr;
}

} // namespace

const char* brokenProperty(const PoeConfig& config, std::uint32_t budgetW, const PortPowerStates& states,
                           const PowerDecisions& decisions) {
  std::uint32_t granted = 0;
  std::uint32_t wanted = 0;
  bool isOneRestarted = false;
  for (const PowerDecision& decision : decisions) {
    if (decision.needW != config.port[decision.port].powerLimit / 1000 ||
        granted + decision.leftW != budgetW) {
      return "each turn finds what those before it have left";
    }
    if (const char* broken = brokenByOne(config, states, decision)) {
      return broken;
    }
    granted += decision.verdict == PowerVerdict::FITS ? decision.needW : 0;
    wanted += isEligible(config, states, decision.port) ? decision.needW : 0;
    isOneRestarted |= decision.verdict == PowerVerdict::RESTARTED;
  }
  if (granted > budgetW) {
    return "what is granted never exceeds the budget";
  }
  if (isOneRestarted && wanted <= budgetW) {
    return "nobody is restarted while all fit";
  }
  return brokenByOrder(config, decisions);
}
