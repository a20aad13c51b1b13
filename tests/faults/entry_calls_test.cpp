// Each system call of the process entry failing with each error that its manual page lists: what is logged,
// what is called and the exit status.
#include "platform/trace_object.h"
#include "tests/faults/errno_lists.h"
#include "tests/support/doubles/i2c_bus.h"
#include "tests/support/doubles/log_capture.h"
#include "tests/support/doubles/main_doubles.h"
#include "tests/support/doubles/posix_doubles.h"

#include <cstring>
#include <gtest/gtest.h>

int poeServiceMain();
extern std::uint8_t g_running;

namespace {

using Calls = std::vector<std::string>;

const LogLine READY = {6, "[INFO] main:80 (main) - Card is ready"};

LogLine receiveFailed(int error) {
  return {2,
          std::string("[CRITICAL] main:126 (main) - msg receive failed mqd=1f - ") + strerror(error) + "\n"};
}

class EntryCalls : public StrictLogTest {
protected:
  EntryCalls() {
    g_running = 1;
    ::testing::internal::CaptureStdout();
  }

  ~EntryCalls() override { ::testing::internal::GetCapturedStdout(); }

  // One run of the process; the worker's thread never gets to run.
  int run() {
    g_running = 1;
    m_doubles.events.clear();
    m_posix.calls.clear();
    m_bus.closed.clear();
    const int exitCode = poeServiceMain();
    EXPECT_EQ(g_traceObject, nullptr);
    EXPECT_EQ(m_bus.closed, std::vector<int>{I2cBus::DESCRIPTOR});
    return exitCode;
  }

  // What a run with so many receives does to queue and console.
  static Calls callsWith(int receives) {
    Calls calls = {"mq_open /queueToPoe", "server created 10001 8192", "server start"};
    for (int i = 0; i < receives; i++) {
      calls.insert(calls.end(), {"mq_getattr", "mq_timedreceive"});
    }
    calls.insert(calls.end(), {"server stop", "server deleted", "mq_close 31", "mq_unlink /queueToPoe"});
    return calls;
  }

  void expectUndisturbedRun() {
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(m_doubles.events, callsWith(1));
    EXPECT_EQ(m_posix.calls, (Calls{"pthread_create", "pthread_join"}));
    EXPECT_EQ(takeLog(), (LogLines{READY, receiveFailed(EINTR)}));
  }

  RegisterFile m_registers;
  I2cBus m_bus{m_registers};
  PosixDoubles m_posix;
  MainDoubles m_doubles;
};

TEST_F(EntryCalls, OpenOfTheQueueThatFailsIsReportedAndEndsTheProcessWithMinusOne) {
  for (const int error : Errors::MQ_OPEN) {
    m_doubles.openError = error;
    EXPECT_EQ(run(), -1);
    EXPECT_EQ(m_doubles.events, (Calls{"mq_open /queueToPoe", "server created 10001 8192", "server stop",
                                       "server deleted", "mq_close -1", "mq_unlink /queueToPoe"}));
    EXPECT_EQ(takeLog(),
              (LogLines{{2, std::string("[CRITICAL] main:74 (main) - msg open  failed  /queueToPoe - ") +
                                strerror(error) + "(" + std::to_string(error) + ")\n"}}));
    EXPECT_EQ(m_posix.calls, Calls{});
  }
}

TEST_F(EntryCalls, AttributesOfTheQueueThatCannotBeReadCostNothing) {
  for (const int error : Errors::MQ_GETATTR) {
    m_doubles.getattrError = error;
    expectUndisturbedRun();
  }
}

TEST_F(EntryCalls, ReceiveThatTimesOutIsRepeatedAndAnyOtherFailureEndsTheProcessInOrder) {
  for (const int error : Errors::MQ_RECEIVE) {
    m_doubles.receives = {{{}, ETIMEDOUT}, {{}, ETIMEDOUT}, {{}, error}, {{}, ETIMEDOUT}};
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(m_doubles.events, callsWith(3));
    EXPECT_EQ(takeLog(), (LogLines{READY, receiveFailed(error)}));
  }
}

TEST_F(EntryCalls, CloseAndUnlinkThatFailAreNotReportedAndNotRepeated) {
  for (const int error : Errors::MQ_CLOSE) {
    m_doubles.closeError = error;
    expectUndisturbedRun();
  }
  for (const int error : Errors::MQ_UNLINK) {
    m_doubles.unlinkError = error;
    expectUndisturbedRun();
  }
}

TEST_F(EntryCalls, AClockThatFailsLeavesADeadlineInThePast) {
  m_doubles.deadline = {1, 0};
  for (const int error : Errors::CLOCK_GETTIME) {
    m_posix.clockError = error;
    expectUndisturbedRun();
  }
}

TEST_F(EntryCalls, AWorkerThatCannotBeCreatedIsReportedAndTheProcessGoesOn) {
  for (const int error : Errors::PTHREAD_CREATE) {
    m_posix.createError = error;
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(m_doubles.events, callsWith(1));
    EXPECT_EQ(m_posix.calls, Calls{"pthread_create"});
    EXPECT_EQ(takeLog(), LogLines{READY} + softwareError("pd69104_engine", 710, "Cannot create thread\n") +
                             LogLines{receiveFailed(EINTR)});
  }
}

TEST_F(EntryCalls, AWorkerThatCannotBeJoinedIsReportedAtTheStopAndAtTheDestruction) {
  const LogLines report = softwareError("pd69104_engine", 750, "Failed to join\n");
  for (const int error : Errors::PTHREAD_JOIN) {
    m_posix.joinError = error;
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(m_doubles.events, callsWith(1));
    EXPECT_EQ(takeLog(), LogLines{READY} + LogLines{receiveFailed(EINTR)} + report + report);
  }
}

TEST_F(EntryCalls, AnAdapterThatCannotBeOpenedIsReportedAndTheProcessGoesOn) {
  for (const int error : Errors::OPEN) {
    m_bus.openErrors = {error};
    g_running = 1;
    EXPECT_EQ(poeServiceMain(), 0);
    EXPECT_EQ(takeLog(),
              LogLines{READY} +
                  softwareError("pd69104", 294,
                                std::string("Cannot open I2C driver /dev/i2c-0: ") + strerror(error) + "\n") +
                  LogLines{receiveFailed(EINTR)});
  }
  EXPECT_EQ(m_bus.closed, std::vector<int>(Errors::OPEN.size(), -1));
}

} // namespace
