#include "poectl/example_config.h"

PoeConfig exampleConfig() {
  PoeConfig config{};
  config.bankPowerLimit[0] = 100;
  config.port[0] = {1, {}, 1, 15000, {}};
  config.port[1] = {1, {}, 2, 30000, {}};
  config.port[2] = {1, {}, 3, 15000, {}};
  config.port[3] = {0, {}, 3, 0, {}};
  return config;
}
