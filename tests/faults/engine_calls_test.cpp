// Each system call of driver and engine failing with each error that its manual page lists, beside the model.
#include "tests/support/doubles/errno_lists.h"
#include "tests/support/doubles/log_capture.h"
#include "tests/support/model/service_pair.h"

#include <gtest/gtest.h>

namespace {

using Calls = std::vector<std::string>;

PoeConfig twoPorts() {
  PoeConfig config{};
  config.bankPowerLimit[0] = 60;
  config.port[0] = {1, {}, 1, 15000, {}};
  config.port[3] = {1, {}, 2, 30000, {}};
  return config;
}

class EngineCalls : public StrictLogTest {
protected:
  // Runs cycles with a configuration after the first; `afterCycle` is called with the number of the cycle.
  static void run(ServicePair& pair, int cycles, const std::function<void(int)>& afterCycle) {
    int cycle = 0;
    pair.run([&] {
      if (cycle == 0) {
        pair.handleConfig(twoPorts());
      }
      EXPECT_EQ(pair.takeDifferences(), "") << "cycle " << cycle;
      afterCycle(cycle);
      return ++cycle < cycles;
    });
  }

  RegisterFile registers;
};

// An adapter that cannot be opened or bound is used all the same, and given back at the end.
class AdapterCalls : public EngineCalls {
protected:
  void expectUsed(const std::vector<int>& openErrors, const std::vector<int>& bindErrors,
                  unsigned operStatus) {
    SCOPED_TRACE(::testing::PrintToString(openErrors) + " " + ::testing::PrintToString(bindErrors));
    ServicePair pair(registers);
    pair.construct(openErrors, bindErrors);
    pair.reportLive(); // has the driver's error flag and counter
    EXPECT_EQ(pair.takeDifferences(), "");
    EXPECT_EQ(pair.bus.opened.size(), std::max<std::size_t>(openErrors.size(), 1));
    run(pair, 3, [&](int) { EXPECT_EQ(pair.status().mainOperStatus, operStatus); });
    EXPECT_TRUE(pair.bus.closed.empty());
    pair.engine.reset();
    EXPECT_EQ(pair.bus.closed, std::vector<int>{pair.model.driver.descriptor});
  }
};

TEST_F(AdapterCalls, OpenThatFailsIsReportedAndTheChipIsUnreachable) {
  for (const int error : Errors::OPEN) {
    expectUsed({error}, {}, 3);
    expectUsed({EINTR, EINTR, error}, {}, 3);
  }
}

TEST_F(AdapterCalls, OpenThatIsInterruptedIsMadeAgain) {
  ServicePair pair(registers);
  pair.construct({EINTR, EINTR, EINTR});
  EXPECT_EQ(pair.bus.opened.size(), 4U);
  EXPECT_EQ(pair.takeDifferences(), "");
  run(pair, 2, [&](int) { EXPECT_EQ(pair.status().mainOperStatus, 1U); });
}

TEST_F(AdapterCalls, BindThatFailsIsReportedAndTheDescriptorIsClosedInTheEnd) {
  for (const int error : Errors::BIND) {
    expectUsed({}, {error}, 1); // the transfers of this bus do not need the binding
    expectUsed({}, {EINTR, error}, 1);
  }
}

TEST_F(AdapterCalls, BindThatIsInterruptedIsMadeAgain) {
  ServicePair pair(registers);
  pair.construct({}, {EINTR, EINTR});
  EXPECT_EQ(pair.bus.bound.size(), 3U);
  EXPECT_EQ(pair.takeDifferences(), "");
  run(pair, 2, [&](int) { EXPECT_EQ(pair.status().devError, 0); });
}

TEST_F(AdapterCalls, CloseThatFailsIsNotMadeAgain) {
  for (const int error : Errors::CLOSE) {
    ServicePair pair(registers);
    pair.construct();
    pair.bus.closeError = error;
    pair.engine.reset();
    EXPECT_EQ(pair.bus.closed, std::vector<int>{I2cBus::DESCRIPTOR});
  }
}

TEST_F(AdapterCalls, TransfersFailAlikeWithEveryErrorAndAreNotMadeAgain) {
  for (const int error : Errors::TRANSFER) {
    SCOPED_TRACE(error);
    ServicePair pair(registers);
    pair.construct();
    pair.bus.transferError = error;
    run(pair, 6, [&](int cycle) {
      EXPECT_EQ(pair.status().mainOperStatus, cycle == 4 ? 3U : 1U);
      if (cycle == 1) {
        pair.bus.failTransfer(20);
      } else if (cycle == 3) {
        pair.bus.failAll();
      } else {
        pair.bus.failNone();
      }
    });
  }
}

class QueueCalls : public EngineCalls {
protected:
  // Three cycles, the errors in the second.
  void expectOneLostMessage(int openError, int sendError) {
    SCOPED_TRACE(std::to_string(openError) + " " + std::to_string(sendError));
    ServicePair pair(registers);
    pair.construct();
    run(pair, 3, [&](int cycle) {
      const bool fails = cycle == 0;
      pair.setQueueErrors(fails ? openError : 0, fails ? sendError : 0);
    });
    pair.setQueueErrors(openError, sendError);
    pair.sendStatus();
    EXPECT_EQ(pair.takeDifferences(), "") << "the result of sendStatus";
  }
};

TEST_F(QueueCalls, OpenThatFailsCostsOneMessage) {
  for (const int error : Errors::MQ_OPEN) {
    expectOneLostMessage(error, 0);
  }
}

TEST_F(QueueCalls, SendThatFailsCostsOneMessageAndTheQueueIsClosed) {
  for (const int error : Errors::MQ_SEND) {
    expectOneLostMessage(0, error);
  }
}

TEST_F(QueueCalls, CloseThatFailsCostsNothingAndDoesNotHideTheErrorOfTheSend) {
  for (const int error : Errors::MQ_CLOSE) {
    for (const int sendError : {0, EMSGSIZE}) {
      ServicePair pair(registers);
      pair.construct();
      pair.posix.closeError = error;
      run(pair, 3, [&](int cycle) { pair.setQueueErrors(0, cycle == 0 ? sendError : 0); });
    }
  }
}

TEST_F(QueueCalls, AClockThatFailsCostsNothingAsLongAsTheQueueHasRoom) {
  for (const int error : Errors::CLOCK_GETTIME) {
    ServicePair pair(registers);
    pair.construct();
    pair.posix.clockError = error;
    run(pair, 3, [](int) {});
  }
}

class ThreadCalls : public EngineCalls {};

TEST_F(ThreadCalls, CreationThatFailsIsReportedLeavesNothingToJoinAndCanBeRepeated) {
  for (const int error : Errors::PTHREAD_CREATE) {
    ServicePair pair(registers);
    pair.construct();
    pair.posix.createError = error;
    EXPECT_FALSE(pair.engine->start());
    EXPECT_EQ(takeLog(), softwareError("pd69104_engine", 710, "Cannot create thread\n"));
    EXPECT_TRUE(pair.engine->stop());
    EXPECT_EQ(pair.posix.calls, Calls{"pthread_create"});
    pair.posix.createError = 0;
    run(pair, 2, [](int) {});
  }
}

TEST_F(ThreadCalls, JoinThatFailsIsReportedEachTimeAndTriedAgain) {
  for (const int error : Errors::PTHREAD_JOIN) {
    ServicePair pair(registers);
    pair.construct();
    EXPECT_TRUE(pair.engine->start());
    pair.posix.joinError = error;
    for (int attempt = 0; attempt < 2; attempt++) {
      EXPECT_FALSE(pair.engine->stop());
      EXPECT_EQ(takeLog(), softwareError("pd69104_engine", 750, "Failed to join\n"));
    }
    pair.engine.reset();
    EXPECT_EQ(takeLog(), softwareError("pd69104_engine", 750, "Failed to join\n"));
    EXPECT_EQ(pair.posix.calls, (Calls{"pthread_create", "pthread_join", "pthread_join", "pthread_join"}));
    EXPECT_EQ(pair.bus.closed.size(), 1U); // released all the same
  }
}

} // namespace
