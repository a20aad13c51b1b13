// The configuration with which the events strike. It fits: the limits are 60 W of 100 W.
#pragma once

#include "components/PoeDriver/poe_messages.h"

// Ports 0, 1 and 2 are switched on, with falling priority; port 3 is switched off.
inline PoeConfig threePorts() {
  PoeConfig config{};
  config.bankPowerLimit[0] = 100;
  config.port[0] = {1, {}, 1, 30000, {}};
  config.port[1] = {1, {}, 2, 15000, {}};
  config.port[2] = {1, {}, 3, 15000, {}};
  config.port[3] = {0, {}, 3, 0, {}};
  return config;
}
