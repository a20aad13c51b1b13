// An engine whose worker runs on the test's own thread: run() is called as the thread would call it, and the
// test acts in the place of the sleep between two cycles.
#pragma once

#include "components/PoeDriver/pd69104_engine.h"
#include "tests/support/doubles/allocation.h"
#include "tests/support/doubles/four_ports.h"
#include "tests/support/doubles/i2c_bus.h"
#include "tests/support/doubles/log_capture.h"
#include "tests/support/doubles/platform_doubles.h"
#include "tests/support/doubles/posix_doubles.h"

#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

inline LogLines engineError(int line, const std::string& message) {
  return softwareError("pd69104_engine", line, message);
}

inline const LogLines DEFAULT_CONFIGURATION_NOTICE = {{6, "POE now setting default configuration\n"}};
inline const LogLines REINIT_NOTICE = {{6, "PD69104 POE chip not initialised, excuting (re)init now!!"},
                                       {6, "POE now setting default configuration\n"}};

inline LogLines readFailureReport(const std::string& address) {
  return softwareError("pd69104", 2215, "Failed reading device at address 0x" + address + "\n");
}

// The registers that one cycle reads on a healthy, configured, undisturbed chip whose active bank is 0.
inline const std::string HEALTHY_CYCLE = "R90 R43 R70 R42 "             // is the chip configured?
                                         "R96 R91 R89 R71 R72 RCB RCC " // power
                                         "R43 R70 R42 "                 // device
                                         "R77 R78 R79 R7A R7B R7C "     // counters
                                         "R10 R0C R49 R75 R71 R72 R32 R33 R30 R31 R92 "
                                         "R10 R0D R4E R75 R71 R72 R36 R37 R34 R35 R93 "
                                         "R10 R0E R53 R76 R71 R72 R3A R3B R38 R39 R94 "
                                         "R10 R0F R58 R76 R71 R72 R3E R3F R3C R3D R95 ";

// The transfers of the set-up before the first cycle.
inline const std::string SET_UP = "R43 R70 R42 "
                                  "R12 W12 R12 W12 R12 W12 R12 W12 W89 W8A W8B W8C W8D W8E W8F W90 "
                                  "R7F W7F ";

// The transfers of switching port 0 to 3 off and on.
inline const std::string SWITCH_OFF = "R12 W12 R14 W14 ";
inline const std::string SWITCH_ON[4] = {
    "R12 W12 R80 W80 W81 W85 R13 W13 R15 W15 R1E W1E R44 W44 R46 W46 W47 W48 R14 W14 ",
    "R12 W12 R80 W80 W82 W86 R13 W13 R15 W15 R1E W1E R44 W44 R4B W4B W4C W4D R14 W14 ",
    "R12 W12 R80 W80 W83 W87 R13 W13 R15 W15 R1F W1F R44 W44 R50 W50 W51 W52 R14 W14 ",
    "R12 W12 R80 W80 W84 W88 R13 W13 R15 W15 R1F W1F R44 W44 R55 W55 W56 W57 R14 W14 "};

class EngineTest : public StrictLogTest {
protected:
  EngineTest() { takeWatchdogEvents(); }

  void TearDown() override {
    engine.reset();
    onSleep({});
    StrictLogTest::TearDown();
  }

  void makeEngine() { engine = std::make_unique<CPD69104Engine>(); }

  // Engines for whose driver object or watchdog client there is no memory.
  void makeEngineWithoutDriver() {
    const FailingNew noDriver(sizeof(CPD69104));
    makeEngine();
  }
  void makeEngineWithoutWatchdog() {
    const FailingNew noWatchdog(sizeof(watchdogMonitor));
    makeEngine();
  }

  using Step = std::function<void()>;

  // Starts the worker and runs one cycle for each step; the step is taken after its cycle. After the last the
  // engine is stopped.
  void runCycles(const std::vector<Step>& steps) {
    std::size_t cycle = 0;
    onSleep([&](double seconds) {
      EXPECT_EQ(seconds, 1.0);
      steps.at(cycle)();
      cycle++;
      if (cycle == steps.size()) {
        engine->stop();
      }
    });
    engine->start();
    EXPECT_EQ(posix.runThread(), nullptr);
    onSleep({});
    EXPECT_EQ(cycle, steps.size());
  }

  // Hands a configuration to the engine as the receive loop does.
  void configure(const PoeConfig& config) { EXPECT_TRUE(engine->handleConfig(&config, sizeof config)); }

  PoeStatus status() const { return posix.lastMessage().status; }

  std::string registersMoved() { return registersOf(bus.takeTransfers()); }

  RegisterFile registers;
  I2cBus bus{registers};
  PosixDoubles posix;
  std::unique_ptr<CPD69104Engine> engine;
};
