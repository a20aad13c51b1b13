// Construction, start, run, stop and destruction of the engine.
#include "tests/unit/service/engine_fixture.h"

#include <cerrno>
#include <gmock/gmock.h>
#include <stdexcept>
#include <thread>
#include <utility>

namespace {

using ::testing::ElementsAre;

using EngineConstruction = EngineTest;
using EngineDestruction = EngineTest;
using EngineStop = EngineTest;

TEST_F(EngineConstruction, OpensTheChipOnAdapterZeroAtAddress0x20WithoutATransfer) {
  makeEngine();
  EXPECT_THAT(bus.opened, ElementsAre("/dev/i2c-0"));
  EXPECT_THAT(bus.bound, ElementsAre(0x20));
  EXPECT_EQ(bus.transferCount(), 0U);
  EXPECT_THAT(takeWatchdogEvents(), ElementsAre("PoeEngine created"));
}

TEST_F(EngineConstruction, ReportsOtherFaultForAllPortsAndZerosElsewhere) {
  makeEngine();
  EXPECT_TRUE(engine->sendStatus());
  PoeStatus expected{};
  for (PoePortStatus& port : expected.port) {
    port.operStatus = 6;
  }
  const PoeStatus sent = status();
  EXPECT_EQ(std::memcmp(&sent, &expected, sizeof sent), 0);
}

TEST_F(EngineConstruction, ReportsTheChipUnreachableWithoutADriverObject) {
  makeEngineWithoutDriver();
  EXPECT_TRUE(bus.opened.empty());
  EXPECT_TRUE(engine->sendStatus());
  EXPECT_EQ(status().mainOperStatus, 3U);
}

TEST_F(EngineConstruction, RegistersWithTheConsoleUnderItsName) {
  makeEngine();
  char name[32];
  EXPECT_EQ(engine->dbgFind("PD69104Engine", name, sizeof name), 1U);
  EXPECT_STREQ(name, "PD69104Engine");
}

TEST_F(EngineDestruction, StopsTheWorkerFirst) {
  makeEngine();
  EXPECT_TRUE(engine->start());
  engine.reset();
  EXPECT_THAT(posix.calls, ElementsAre("pthread_create", "pthread_join"));
}

TEST_F(EngineDestruction, GoesThroughEitherBase) {
  Zorvan::Cdebugable* console = new CPD69104Engine;
  delete console;
  EXPECT_EQ(bus.closed.size(), 1U);
  ThreadClass* thread = new CPD69104Engine;
  delete thread;
  EXPECT_EQ(bus.closed.size(), 2U);
}

TEST_F(EngineDestruction, WithoutDriverAndWatchdogReleasesNothing) {
  makeEngineWithoutDriver();
  engine.reset();
  EXPECT_TRUE(bus.closed.empty());
  takeWatchdogEvents();
  makeEngineWithoutWatchdog();
  engine.reset();
  EXPECT_TRUE(takeWatchdogEvents().empty());
}

TEST_F(EngineStop, WithoutAWorkerIsTrueAtOnce) {
  makeEngine();
  EXPECT_TRUE(engine->stop());
  EXPECT_TRUE(posix.calls.empty());
}

TEST_F(EngineStop, JoinsAWorkerThatHasEndedAndDoesNotJoinTwice) {
  makeEngineWithoutDriver();
  EXPECT_TRUE(engine->start());
  posix.runThread();
  EXPECT_TRUE(engine->stop());
  EXPECT_TRUE(engine->stop());
  EXPECT_THAT(posix.calls, ElementsAre("pthread_create", "pthread_join"));
}

TEST_F(EngineStop, BeforeTheWorkerRunsLeavesOutTheCycle) {
  makeEngine();
  EXPECT_TRUE(engine->start());
  EXPECT_TRUE(engine->stop());
  posix.runThread();
  EXPECT_EQ(registersMoved(), SET_UP);
  EXPECT_EQ(takeLog(), DEFAULT_CONFIGURATION_NOTICE);
  EXPECT_TRUE(posix.messages.empty());
}

TEST_F(EngineStop, WithoutAWorkerStillKeepsOneFromRunning) {
  makeEngine();
  posix.createError = EAGAIN;
  EXPECT_FALSE(engine->start());
  EXPECT_TRUE(engine->stop());
  onSleep([](double) { throw std::logic_error("a cycle was run"); });
  EXPECT_NO_THROW(engine->run());
  takeLog();
}

class EngineRun : public EngineTest {
protected:
  // The reply to the console's "info".
  std::string consoleInfo() {
    const char* argv[] = {"info"};
    char out[8192];
    EXPECT_EQ(engine->dbgCommand(1, argv, out, sizeof out), 1U);
    return out;
  }
};

TEST_F(EngineRun, PrintsItsLineSetsUpTheChipAndRunsCyclesUntilItIsStopped) {
  makeEngine();
  ::testing::internal::CaptureStdout();
  std::vector<std::string> moved;
  const auto note = [&] { moved.push_back(registersMoved()); };
  runCycles({note, note, note});
  EXPECT_EQ(::testing::internal::GetCapturedStdout(),
            "...Cpd69104Engine::start\n...in CPD69104Engine::run\n");
  EXPECT_THAT(moved, ElementsAre(SET_UP + HEALTHY_CYCLE, HEALTHY_CYCLE, HEALTHY_CYCLE));
  EXPECT_EQ(posix.messages.size(), 3U);
  EXPECT_EQ(takeLog(), DEFAULT_CONFIGURATION_NOTICE);
}

TEST_F(EngineRun, PrintsItsLineBeforeItTouchesTheChip) {
  makeEngine();
  std::string printed;
  bool first = true;
  bus.failWhen([&](std::size_t, const Transfer&) {
    if (std::exchange(first, false)) {
      printed = ::testing::internal::GetCapturedStdout();
    }
    return false;
  });
  ::testing::internal::CaptureStdout();
  runCycles({[] {}});
  EXPECT_EQ(printed, "...Cpd69104Engine::start\n...in CPD69104Engine::run\n");
  takeLog();
}

TEST_F(EngineRun, StartsItsWatchdogAfterTheSetUpAndFeedsItAtTheStartOfEachCycle) {
  makeEngine();
  std::vector<std::string> steps;
  onWatchdogEvent([&](const std::string& event) { steps.push_back(registersMoved() + event); });
  runCycles({[] {}, [] {}});
  onWatchdogEvent({});
  EXPECT_THAT(steps, ElementsAre(SET_UP + "PoeEngine start 60000", "PoeEngine notify 0",
                                 HEALTHY_CYCLE + "PoeEngine notify 0"));
  takeLog();
}

TEST_F(EngineRun, AcceptsConfigurationsOnlyWhileItIsActive) {
  makeEngine();
  const PoeConfig config = fourPorts();
  configure(config);
  EXPECT_EQ(registersMoved(), "");
  runCycles({[&] {
    registersMoved();
    configure(config);
    EXPECT_NE(registersMoved(), "");
  }});
  PoeConfig other = config;
  other.port[0].priority = 2;
  configure(other);
  EXPECT_EQ(registersMoved(), "");
  takeLog();
}

TEST_F(EngineRun, WithoutADriverObjectEndsAtOnceAndSendsNothing) {
  makeEngineWithoutDriver();
  takeWatchdogEvents();
  ::testing::internal::CaptureStdout();
  EXPECT_TRUE(engine->start());
  posix.runThread();
  EXPECT_EQ(::testing::internal::GetCapturedStdout(),
            "...Cpd69104Engine::start\n...in CPD69104Engine::run\n");
  EXPECT_TRUE(posix.messages.empty());
  EXPECT_EQ(bus.transferCount(), 0U);
  EXPECT_THAT(takeWatchdogEvents(), ElementsAre("PoeEngine start 60000"));
  EXPECT_NE(consoleInfo().find("m_state                 = IDLE\n"), std::string::npos);
  configure(fourPorts()); // still ignored
  EXPECT_EQ(bus.transferCount(), 0U);
}

TEST_F(EngineRun, WithoutAWatchdogClientRunsAllTheSame) {
  makeEngineWithoutWatchdog();
  runCycles({[] {}, [] {}});
  EXPECT_TRUE(takeWatchdogEvents().empty());
  EXPECT_EQ(posix.messages.size(), 2U);
  takeLog();
}

} // namespace
