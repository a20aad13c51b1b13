// The configuration of the running service, compared with a file and written as one.
#include "poectl/config/service_settings.h"

#include "poectl/config/example_config.h"

#include <gtest/gtest.h>

namespace {

PortDetails port(bool enabled, std::uint32_t limitW, std::uint32_t priority) {
  PortDetails details;
  details.enabled = enabled;
  details.limitW = limitW;
  details.priority = priority;
  return details;
}

ConfigFile example() {
  return {exampleConfig(), {"", "door \"A\\1\"", "", ""}, {}};
}

// As the console shows it.
ServiceSettings settingsOfExample() {
  return {{100, 0, 0, 0, 0, 0, 0, 0},
          {port(true, 15, 1), port(true, 30, 2), port(true, 15, 3), port(false, 15, 3)}};
}

TEST(Differences, AreNoneWhenTheServiceHasTheFile) {
  EXPECT_EQ(differences(example(), settingsOfExample()), "");
}

TEST(Differences, DisregardWhatTheConsoleCannotShow) {
  ConfigFile file = example();
  file.config.bankPowerLimit[2] = 200; // the chip takes 161
  file.config.port[0].powerLimit = 15999;
  file.config.port[2].powerLimit = 0;
  ServiceSettings service = settingsOfExample();
  service.banks[2] = 161;
  service.ports[2].limitW = 40;
  service.ports[3] = port(false, 7, 2); // it is off
  EXPECT_EQ(differences(file, service), "");
}

TEST(Differences, NameEverythingThatDiffers) {
  const ServiceSettings service{{80, 0, 0, 0, 0, 0, 0, 3},
                                {port(true, 15, 2), port(true, 29, 3), port(false, 1, 1), port(true, 15, 3)}};
  EXPECT_EQ(differences(example(), service),
            "bank 0: 100 W in the file, 80 W in the service\n"
            "bank 7: 0 W in the file, 3 W in the service\n"
            "port 0, priority: 1 in the file, 2 in the service\n"
            "port 1 (door \"A\\1\"), limit: 30 W in the file, 29 W in the service\n"
            "port 1 (door \"A\\1\"), priority: 2 in the file, 3 in the service\n"
            "port 2: on in the file, off in the service\n"
            "port 3: off in the file, on in the service\n");
}

TEST(SavedConfiguration, IsAFileThatTheServiceAlreadyHas) {
  ServiceSettings service = settingsOfExample();
  service.banks[3] = 161;
  service.ports[2].limitW = 0; // of a limit below 1 W
  const ConfigFile saved = parseConfigFile(configFileOf(service, example().names, "T"), "saved");
  EXPECT_EQ(differences(saved, service), "");
  EXPECT_EQ(saved.names, example().names);
}

TEST(SavedConfiguration, SaysWhatIsNotKnown) {
  EXPECT_EQ(configFileOf(settingsOfExample(), example().names, "2026-01-02T03:04:05.678Z"),
            R"(# The configuration of the running service, read by 'poectl save' at 2026-01-02T03:04:05.678Z.
# Its console does not show, so check:
#   - parts of a W: it shows a limit of 15400 mW as 15 W
#   - a limit of 0: it shows 40 W, as for 40000; 0 counts as 0 W in the sum of the limits
#   - limit and priority of a port that is off: those here are left over in the chip
#   - a bank limit above 161 W: it shows 161 W
#   - the names of the ports
#   - what the main process sends and the service does not read

[banks]
bank0 = 100

[port.0]
# name = "..."
enable = true
priority = 1
limit = 15000

[port.1]
name = "door \"A\\1\""
enable = true
priority = 2
limit = 30000

[port.2]
# name = "..."
enable = true
priority = 3
limit = 15000

[port.3]
# name = "..."
enable = false
priority = 3
limit = 15000 # not known while the port is off
)");
}

TEST(SavedConfiguration, IsRefusedWhenNoFileCanHoldIt) {
  ServiceSettings service = settingsOfExample();
  service.ports[1].priority = 4;
  EXPECT_THROW(configFileOf(service, {}, "T"), ConfigError);
}

} // namespace
