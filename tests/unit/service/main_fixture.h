// The process entry, stepped: its thread is created but never runs unless a test runs it.
#pragma once

#include "platform/trace_object.h"
#include "tests/support/doubles/i2c_bus.h"
#include "tests/support/doubles/log_capture.h"
#include "tests/support/doubles/main_doubles.h"
#include "tests/support/doubles/platform_doubles.h"
#include "tests/support/doubles/posix_doubles.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>

int poeServiceMain();
extern std::uint8_t g_running;

inline LogLine receiveFailed(int error) {
  return {2,
          std::string("[CRITICAL] main:126 (main) - msg receive failed mqd=1f - ") + strerror(error) + "\n"};
}

inline LogLine openFailed(int error) {
  return {2, std::string("[CRITICAL] main:74 (main) - msg open  failed  /queueToPoe - ") + strerror(error) +
                 "(" + std::to_string(error) + ")\n"};
}

inline LogLine unknownId(std::uint32_t id) {
  return {3, "[ERROR] main:138 (main) - Unkown msgid " + std::to_string(static_cast<std::int32_t>(id)) +
                 " received\n"};
}

inline const LogLine READY = {6, "[INFO] main:80 (main) - Card is ready"};
inline const LogLine INTERRUPTED = receiveFailed(EINTR);

class MainTest : public StrictLogTest {
protected:
  using Strings = std::vector<std::string>;

  MainTest() { takeWatchdogEvents(); }

  // Runs the process. Only what this run does is kept of events, calls and output.
  int run() {
    g_running = 1;
    doubles.events.clear();
    posix.calls.clear();
    bus.closed.clear();
    takeWatchdogEvents();
    ::testing::internal::CaptureStdout();
    const int exitCode = poeServiceMain();
    output = ::testing::internal::GetCapturedStdout();
    EXPECT_EQ(g_traceObject, nullptr);
    return exitCode;
  }

  // The order of everything that happens to the queue and the server.
  static Strings eventsWith(unsigned receives) {
    Strings events = {"mq_open /queueToPoe", "server created 10001 8192", "server start"};
    for (unsigned i = 0; i < receives; i++) {
      events.insert(events.end(), {"mq_getattr", "mq_timedreceive"});
    }
    events.insert(events.end(), {"server stop", "server deleted", "mq_close 31", "mq_unlink /queueToPoe"});
    return events;
  }

  static Strings watchdogEventsWith(unsigned passes) {
    Strings events = {"PoeMain created", "PoeEngine created", "PoeMain start 60000"};
    events.insert(events.end(), passes, "PoeMain notify 0");
    events.insert(events.end(), {"PoeEngine deleted", "PoeMain deleted"});
    return events;
  }

  // A run with so many receives, of which the last one fails with `error`.
  void expectOrderlyRun(unsigned receives = 1, int error = EINTR) {
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(output,
              "Now starting debugServer\n(server start)\nNow starting pd69104\n...Cpd69104Engine::start\n");
    EXPECT_EQ(doubles.events, eventsWith(receives));
    EXPECT_EQ(takeWatchdogEvents(), watchdogEventsWith(receives));
    EXPECT_EQ(posix.calls, (Strings{"pthread_create", "pthread_join"}));
    EXPECT_EQ(bus.closed, std::vector<int>{I2cBus::DESCRIPTOR});
    EXPECT_EQ(takeLog(), (LogLines{READY, receiveFailed(error)}));
  }

  RegisterFile registers;
  I2cBus bus{registers};
  PosixDoubles posix;
  MainDoubles doubles;
  std::string output;
};
