#include "poectl/config/budget_audit.h"

namespace {

constexpr std::uint32_t FIRST_PRIORITY = 1;
constexpr std::uint32_t LAST_PRIORITY = 3;
constexpr std::uint32_t DETECTION_GOOD = 4;

// A limit of 0 counts as 0 and ports that are off count as well, as in the service.
std::uint32_t neededWatts(const PoeConfig& config) {
  std::uint32_t need = 0; // mW
  for (const PoePortConfig& port : config.port) {
    need += port.powerLimit;
  }
  return need / 1000;
}

Verdict judge(const PoePortConfig& port, const PortState& state, std::uint32_t budget) {
  if (port.adminEnable == 0) {
    return Verdict::OFF;
  }
  if (state.detection != DETECTION_GOOD) {
    return Verdict::NOT_DETECTED;
  }
  if (port.powerLimit / 1000 <= budget) {
    return Verdict::FITS;
  }
  return state.powered ? Verdict::RESTARTED : Verdict::UNPOWERED;
}

bool isKnown(std::uint32_t priority) {
  return priority >= FIRST_PRIORITY && priority <= LAST_PRIORITY;
}

} // namespace

AuditResult auditBudget(const PoeConfig& config, std::uint32_t bankLimit, const PortStates& states) {
  AuditResult result{neededWatts(config), false, {}};
  if (result.need <= bankLimit) {
    return result;
  }
  result.entered = true;
  std::uint32_t budget = bankLimit;
  for (std::uint32_t priority = FIRST_PRIORITY; priority <= LAST_PRIORITY; priority++) {
    for (unsigned port = 0; port < POE_PORTS; port++) {
      if (config.port[port].priority != priority) {
        continue;
      }
      const std::uint32_t need = config.port[port].powerLimit / 1000;
      result.steps.push_back({port, judge(config.port[port], states[port], budget), need, budget});
      budget -= result.steps.back().verdict == Verdict::FITS ? need : 0;
    }
  }
  for (unsigned port = 0; port < POE_PORTS; port++) {
    if (!isKnown(config.port[port].priority)) {
      result.steps.push_back({port, Verdict::UNKNOWN_PRIORITY, config.port[port].powerLimit / 1000, budget});
    }
  }
  return result;
}

bool restarts(const AuditStep& step) {
  return step.verdict == Verdict::RESTARTED || step.verdict == Verdict::UNKNOWN_PRIORITY;
}
