// The rule of the power budget.
#include "power_budget.h"

// The priorities in the order in which they are served.
static constexpr std::uint32_t priorityOrder[] = {1, 2, 3};

namespace {

std::uint32_t neededPowerW(const PoePortConfig& port) {
  return port.powerLimit / 1000;
}

PowerVerdict judge(const PoePortConfig& port, const PortPowerState& state, std::uint32_t leftW) {
  if (port.adminEnable == 0) {
    return PowerVerdict::OFF;
  }
  if (state.detection != DetectionStatus::GOOD) {
    return PowerVerdict::NOT_DETECTED;
  }
  if (neededPowerW(port) <= leftW) {
    return PowerVerdict::FITS;
  }
  return state.powered ? PowerVerdict::RESTARTED : PowerVerdict::UNPOWERED;
}

bool isServed(std::uint32_t priority) {
  bool served = false;
  for (const std::uint32_t known : priorityOrder) {
    served |= priority == known;
  }
  return served;
}

} // namespace

std::uint32_t neededPowerW(const PoeConfig& config) {
  std::uint32_t neededMw = 0;
  for (const PoePortConfig& port : config.port) {
    neededMw += port.powerLimit;
  }
  return neededMw / 1000;
}

PowerDecisions decidePower(const PoeConfig& config, std::uint32_t bankLimitW, const PortPowerStates& states) {
  PowerDecisions decisions{};
  unsigned decided = 0;
  std::uint32_t leftW = bankLimitW;
  for (const std::uint32_t priority : priorityOrder) {
    for (unsigned port = 0; port < POE_PORTS; port++) {
      if (config.port[port].priority == priority) {
        const std::uint32_t needW = neededPowerW(config.port[port]);
        const PowerVerdict verdict = judge(config.port[port], states[port], leftW);
        decisions[decided++] = {port, verdict, needW, leftW};
        leftW -= verdict == PowerVerdict::FITS ? needW : 0;
      }
    }
  }
  for (unsigned port = 0; port < POE_PORTS; port++) {
    if (!isServed(config.port[port].priority)) {
      decisions[decided++] = {port, PowerVerdict::UNKNOWN_PRIORITY, neededPowerW(config.port[port]), leftW};
    }
  }
  return decisions;
}
