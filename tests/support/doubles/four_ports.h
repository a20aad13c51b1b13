// The configuration that most tests begin with.
#pragma once

#include "components/PoeDriver/poe_messages.h"

// 100 W in bank 0 and all four ports enabled with priority 1 and 15 W.
inline PoeConfig fourPorts() {
  PoeConfig config{};
  config.bankPowerLimit[0] = 100;
  for (PoePortConfig& port : config.port) {
    port.adminEnable = 1;
    port.priority = 1;
    port.powerLimit = 15000;
  }
  return config;
}
