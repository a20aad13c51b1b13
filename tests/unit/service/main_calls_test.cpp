// Each system call of the process entry failing with each error that its manual page lists: what is logged,
// what is called and the exit status.
#include "tests/support/doubles/errno_lists.h"
#include "tests/unit/service/main_fixture.h"

namespace {

using MainCalls = MainTest;

TEST_F(MainCalls, OpenOfTheQueueThatFailsIsReportedAndEndsTheProcessWithMinusOne) {
  for (const int error : Errors::MQ_OPEN) {
    doubles.openError = error;
    EXPECT_EQ(run(), -1);
    EXPECT_EQ(doubles.events, (Strings{"mq_open /queueToPoe", "server created 10001 8192", "server stop",
                                       "server deleted", "mq_close -1", "mq_unlink /queueToPoe"}));
    EXPECT_EQ(takeLog(), LogLines{openFailed(error)});
    EXPECT_EQ(output, "");
    EXPECT_EQ(doubles.running, (std::vector<bool>{true, false, false, false, false, false}));
    EXPECT_EQ(takeWatchdogEvents(), watchdogEventsWith(0));
    EXPECT_EQ(posix.calls, Strings{});
    EXPECT_EQ(bus.closed, std::vector<int>{I2cBus::DESCRIPTOR});
    doubles.running.clear();
  }
}

TEST_F(MainCalls, AttributesOfTheQueueThatCannotBeReadCostNothing) {
  for (const int error : Errors::MQ_GETATTR) {
    doubles.getattrError = error;
    expectOrderlyRun();
  }
}

TEST_F(MainCalls, ReceiveThatTimesOutIsRepeatedAndAnyOtherFailureEndsTheProcessInOrder) {
  for (const int error : Errors::MQ_RECEIVE) {
    doubles.receives = {{{}, ETIMEDOUT}, {{}, ETIMEDOUT}, {{}, error}, {{}, ETIMEDOUT}};
    expectOrderlyRun(3, error);
  }
}

TEST_F(MainCalls, CloseAndUnlinkThatFailAreNotReportedAndNotRepeated) {
  for (const int error : Errors::MQ_CLOSE) {
    doubles.closeError = error;
    expectOrderlyRun();
  }
  for (const int error : Errors::MQ_UNLINK) {
    doubles.unlinkError = error;
    expectOrderlyRun();
  }
}

TEST_F(MainCalls, AClockThatFailsLeavesADeadlineInThePast) {
  doubles.deadline = {1, 0};
  for (const int error : Errors::CLOCK_GETTIME) {
    posix.clockError = error;
    expectOrderlyRun();
  }
}

TEST_F(MainCalls, AWorkerThatCannotBeCreatedIsReportedAndTheProcessGoesOn) {
  for (const int error : Errors::PTHREAD_CREATE) {
    posix.createError = error;
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(doubles.events, eventsWith(1));
    EXPECT_EQ(posix.calls, Strings{"pthread_create"});
    EXPECT_EQ(bus.closed, std::vector<int>{I2cBus::DESCRIPTOR});
    EXPECT_EQ(takeLog(), LogLines{READY} + softwareError("pd69104_engine", 710, "Cannot create thread\n") +
                             LogLines{INTERRUPTED});
  }
}

TEST_F(MainCalls, AWorkerThatCannotBeJoinedIsReportedAtTheStopAndAtTheDestruction) {
  const LogLines report = softwareError("pd69104_engine", 750, "Failed to join\n");
  for (const int error : Errors::PTHREAD_JOIN) {
    posix.joinError = error;
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(doubles.events, eventsWith(1));
    EXPECT_EQ(bus.closed, std::vector<int>{I2cBus::DESCRIPTOR});
    EXPECT_EQ(takeLog(), LogLines{READY} + LogLines{INTERRUPTED} + report + report);
  }
}

TEST_F(MainCalls, AnAdapterThatCannotBeOpenedIsReportedAndTheProcessGoesOn) {
  for (const int error : Errors::OPEN) {
    bus.openErrors = {error};
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(bus.closed, std::vector<int>{-1});
    EXPECT_EQ(takeLog(),
              LogLines{READY} +
                  softwareError("pd69104", 294,
                                std::string("Cannot open I2C driver /dev/i2c-0: ") + strerror(error) + "\n") +
                  LogLines{INTERRUPTED});
  }
}

} // namespace
