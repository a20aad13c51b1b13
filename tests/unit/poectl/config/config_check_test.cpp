// What is said about a configuration.
#include "poectl/config/config_check.h"
#include "poectl/config/example_config.h"

#include <gtest/gtest.h>

namespace {

TEST(ConfigCheck, SaysWhatTheServiceDoesWithTheExample) {
  EXPECT_EQ(configText(exampleConfig()), "bank 0: 100 W\n"
                                         "port 0: on, priority 1, 15 W\n"
                                         "port 1: on, priority 2, 30 W\n"
                                         "port 2: on, priority 3, 15 W\n"
                                         "port 3: off\n"
                                         "sum of the limits: 60 W of 100 W in bank 0: the audit has nothing "
                                         "to do\n");
}

TEST(ConfigCheck, WarnsOfWhatIsProbablyNotMeant) {
  PoeConfig config{};
  config.bankPowerLimit[0] = 30;
  config.bankPowerLimit[3] = 161;
  config.bankPowerLimit[5] = 4294967295;
  config.bankPowerLimit[7] = 162;
  config.port[0] = {1, {}, 1, 0, {}};
  config.port[1] = {0, {}, 2, 20000, {}};
  config.port[2] = {1, {}, 3, 11999, {}};
  config.port[3] = {0, {}, 1, 0, {}};
  EXPECT_EQ(configText(config),
            "bank 0: 30 W\n"
            "bank 3: 161 W\n"
            "bank 5: 161 W\n"
            "bank 7: 161 W\n"
            "port 0: on, priority 1, 40 W, as a limit of 0 means\n"
            "port 1: off\n"
            "port 2: on, priority 3, 11 W\n"
            "port 3: off\n"
            "sum of the limits: 31 W of 30 W in bank 0: the audit serves the ports by priority, 'poectl "
            "explain' shows how\n"
            "warning: bank 5: 4294967295 W is more than the chip takes: it gets 161 W\n"
            "warning: bank 7: 162 W is more than the chip takes: it gets 161 W\n"
            "warning: bank 7 is not 0: the service takes that for a chip that has lost its configuration and "
            "rebuilds the chip in every cycle\n"
            "warning: port 0 may take 40 W, and counts as 0 in the sum\n"
            "warning: port 1 is off, and its limit of 20000 mW still counts in the sum\n"
            "warning: port 2 gets whole watts: 11999 mW become 11 W\n");
}

TEST(ConfigCheck, ComparesTheSumWithWhatTheChipGets) {
  PoeConfig config{};
  config.bankPowerLimit[0] = 200;
  for (PoePortConfig& port : config.port) {
    port = {1, {}, 1, 40999, {}};
  }
  EXPECT_NE(configText(config).find("\nsum of the limits: 163 W of 161 W in bank 0: the audit serves"),
            std::string::npos)
      << configText(config);
}

} // namespace
