#include "tests/support/model/budget_model.h"

std::array<bool, 4> restartedPorts(const PoeConfig& config, std::uint32_t budget,
                                   const std::array<ModelPortPower, 4>& ports) {
  std::array<bool, 4> restarted = {true, true, true, true};
  for (std::uint32_t priority = 1; priority <= 3; priority++) {
    for (unsigned port = 0; port < 4; port++) {
      const PoePortConfig& settings = config.port[port];
      if (settings.priority != priority) {
        continue;
      }
      const std::uint32_t need = settings.powerLimit / 1000;
      if (settings.adminEnable == 0 || ports.at(port).detection != 4) {
        restarted.at(port) = false;
      } else if (need <= budget) {
        budget -= need;
        restarted.at(port) = false;
      } else {
        restarted.at(port) = ports.at(port).isPowered;
      }
    }
  }
  return restarted;
}
