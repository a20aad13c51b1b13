// What the tests of the real process share.
#pragma once

#include "tests/support/process/main_process.h"
#include "tests/support/process/service_process.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>

class ServiceTest : public ::testing::Test {
protected:
  // What a start without a fault writes.
  static inline const std::string START = "<6> [INFO] main:80 (main) - Card is ready\n"
                                          "Now starting debugServer\n"
                                          "Now starting pd69104\n"
                                          "...Cpd69104Engine::start\n"
                                          "...in CPD69104Engine::run\n"
                                          "<6> POE now setting default configuration\n";

  // The only line of a service whose receive was interrupted. The descriptor is that of the queue.
  static bool endsInterrupted(const std::string& output) {
    const std::string head = "<2> [CRITICAL] main:126 (main) - msg receive failed mqd=";
    const std::string tail = " - Interrupted system call\n";
    return output.rfind(head, 0) == 0 && output.size() > tail.size() &&
           output.compare(output.size() - tail.size(), tail.size(), tail) == 0 &&
           output.find_first_not_of("0123456789abcdef", head.size()) == output.size() - tail.size();
  }

  // Starts the service and waits until its engine is ACTIVE, which the first status message shows.
  void startService(const ServiceOptions& options = {}) {
    status = std::make_unique<MainProcessQueue>();
    service = std::make_unique<ServiceProcess>(options);
    status->next();
  }

  // The output after the start.
  std::string outputAfterStart() const {
    const std::string output = service->output();
    EXPECT_EQ(output.substr(0, START.size()), START);
    return output.substr(std::min(START.size(), output.size()));
  }

  // Port 0 enabled with 15 W, bank 0 with 100 W. All ports have a priority, or the first audit, which still
  // works with the bank limit of 0 that was read before, would restart them.
  static PoeConfig onePort() {
    PoeConfig config{};
    config.bankPowerLimit[0] = 100;
    for (PoePortConfig& port : config.port) {
      port.priority = 1;
    }
    config.port[0].adminEnable = 1;
    config.port[0].powerLimit = 15000;
    return config;
  }

  // Takes messages until port 0 is in this state.
  bool waitForPort0(std::uint32_t operStatus) {
    for (int message = 0; message < 6; message++) {
      if (status->next().status.port[0].operStatus == operStatus) {
        return true;
      }
    }
    return false;
  }

  std::unique_ptr<MainProcessQueue> status;
  std::unique_ptr<ServiceProcess> service;
};
