// The process entry, stepped: the order of its calls, its receive loop, and each of its steps failing.
#include "components/PoeDriver/pd69104_engine.h"
#include "platform/debug_server.h"
#include "tests/support/doubles/allocation.h"
#include "tests/unit/service/main_fixture.h"

#include <algorithm>
#include <future>
#include <gmock/gmock.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using Main = MainTest;

std::vector<char> bytes(std::uint32_t msgId, std::size_t length) {
  std::vector<char> message(std::max(length, sizeof msgId));
  std::memcpy(message.data(), &msgId, sizeof msgId);
  message.resize(length);
  return message;
}

const std::uint8_t RUNNING_FLAG_OF_A_NEW_PROCESS = g_running;

std::vector<char> configuration() {
  PoeConfigMessage message{};
  message.config.bankPowerLimit[0] = 100;
  std::vector<char> raw(sizeof message);
  std::memcpy(raw.data(), &message, sizeof message);
  return raw;
}

TEST_F(Main, StartsAndStopsEverythingInOrder) {
  expectOrderlyRun();
}

bool isDevNull(int descriptor) {
  struct stat found {};
  struct stat expected {};
  return fstat(descriptor, &found) == 0 && stat("/dev/null", &expected) == 0 &&
         found.st_rdev == expected.st_rdev;
}

// What the standard descriptors stand for when the process opens its queue, the first thing that it
// opens.
TEST_F(Main, OpensDevNullForEachStandardDescriptorThatIsClosedAndForNoOther) {
  ::testing::internal::CaptureStdout();
  for (int closed = 0; closed < 8; closed++) {
    const int saved[] = {dup(0), dup(1), dup(2)};
    bool null[3] = {};
    doubles.onEvent = [&](const std::string& event) {
      for (int descriptor = 0; descriptor < 3 && event == "mq_open /queueToPoe"; descriptor++) {
        null[descriptor] = isDevNull(descriptor);
      }
    };
    const int regular = memfd_create("standard", 0);
    for (int descriptor = 0; descriptor < 3; descriptor++) {
      dup2(regular, descriptor);
      if ((closed >> descriptor & 1) != 0) {
        close(descriptor);
      }
    }
    poeServiceMain();
    for (int descriptor = 0; descriptor < 3; descriptor++) {
      dup2(saved[descriptor], descriptor);
      close(saved[descriptor]);
      EXPECT_EQ(null[descriptor], (closed >> descriptor & 1) != 0)
          << "closed " << closed << " " << descriptor;
    }
    close(regular);
    takeLog();
  }
  ::testing::internal::GetCapturedStdout();
}

TEST(MainFlag, IsToRunFromTheStart) {
  EXPECT_EQ(RUNNING_FLAG_OF_A_NEW_PROCESS, 1);
}

TEST_F(Main, TakesDownTheWorkerTheServerTheEngineTheQueueAndTheWatchdogInThisOrder) {
  std::vector<std::string> steps;
  std::vector<std::string> watchdogEvents;
  doubles.onEvent = [&](const std::string& event) {
    for (const std::string& watchdogEvent : takeWatchdogEvents()) {
      watchdogEvents.push_back(watchdogEvent);
    }
    steps.push_back(event + (posix.calls.size() == 2 ? ", worker joined" : "") +
                    (bus.closed.empty() ? "" : ", bus closed"));
  };
  EXPECT_EQ(run(), 0);
  EXPECT_THAT(steps, ElementsAre("mq_open /queueToPoe", "server created 10001 8192", "server start",
                                 "mq_getattr", "mq_timedreceive", "server stop, worker joined",
                                 "server deleted, worker joined, bus closed",
                                 "mq_close 31, worker joined, bus closed",
                                 "mq_unlink /queueToPoe, worker joined, bus closed"));
  EXPECT_EQ(watchdogEvents.back(), "PoeEngine deleted");
  EXPECT_THAT(takeWatchdogEvents(), ElementsAre("PoeMain deleted"));
  takeLog();
}

TEST_F(Main, HasATraceObjectOfTheModulePoeBeforeTheFirstWatchdogClientAndUntilTheLastIsGone) {
  std::vector<std::string> names;
  onWatchdogEvent([&](const std::string&) {
    names.emplace_back(g_traceObject != nullptr ? g_traceObject->name() : "none");
  });
  EXPECT_EQ(run(), 0);
  onWatchdogEvent({});
  EXPECT_EQ(names, std::vector<std::string>(6, "Poe"));
  takeLog();
}

// MainDoubles compares the deadline.
TEST_F(Main, WaitsAcrossTheDatesAtWhich32BitsOfSecondsEnd) {
  const std::int64_t lastSeconds[] = {2'147'483'647, 4'294'967'295}; // in 2038 and 2106
  unsigned receives = 0;
  doubles.onEvent = [&](const std::string& event) {
    if (event == "mq_getattr") {
      posix.timeOfDay.tv_sec = static_cast<std::time_t>(lastSeconds[receives++]);
      doubles.deadline.tv_sec = posix.timeOfDay.tv_sec + 1;
      EXPECT_EQ(static_cast<std::int64_t>(doubles.deadline.tv_sec), lastSeconds[receives - 1] + 1);
    }
  };
  doubles.receives = {{{}, ETIMEDOUT}};
  EXPECT_EQ(run(), 0);
  EXPECT_EQ(receives, 2U);
  EXPECT_EQ(takeLog(), (LogLines{READY, INTERRUPTED}));
}

TEST_F(Main, UsesATraceObjectThatIsThereAndDeletesIt) {
  g_traceObject = new TraceObject("Test", 7);
  EXPECT_EQ(run(), 0);
  EXPECT_EQ(
      takeLog(),
      (LogLines{{7, "[DEBUG1] main:79 (main) - listen to queue  /queueToPoe(31)\n"}, READY, INTERRUPTED}));
}

TEST_F(Main, WithoutATraceObjectWritesNoTaggedLine) {
  const FailingNew noTrace(sizeof(TraceObject));
  doubles.receives = {{bytes(5, 4), 0}};
  EXPECT_EQ(run(), 0);
  EXPECT_THAT(doubles.events, ElementsAreArray(eventsWith(2)));
}

TEST_F(Main, ReadsTheTraceLevelAnewForEveryLine) {
  g_traceObject = new TraceObject("Test", 5);
  doubles.receives = {{bytes(5, 4), 0}};
  EXPECT_EQ(run(), 0);
  EXPECT_EQ(takeLog(), (LogLines{unknownId(5), INTERRUPTED}));
}

TEST_F(Main, ReportsEveryUnknownIdAndIgnoresAMessageOfNoLength) {
  doubles.receives = {{bytes(17, 188), 0}, {{}, 0}, {bytes(0xFFFFFFFF, 4), 0}, {bytes(1, 2000), 0}};
  EXPECT_EQ(run(), 0);
  EXPECT_THAT(doubles.events, ElementsAreArray(eventsWith(5)));
  EXPECT_EQ(takeLog(), (LogLines{READY, unknownId(17), unknownId(0xFFFFFFFF), unknownId(1), INTERRUPTED}));
}

TEST_F(Main, CompletesAShortMessageFromTheOneBefore) {
  // Three bytes of an id leave the fourth as it was: of 0x01020304 on a machine of either byte order, one
  // byte stays. Then one byte leaves three.
  doubles.receives = {{bytes(0x01020304, 4), 0}, {{1, 1, 1}, 0}, {{2}, 0}};
  EXPECT_EQ(run(), 0);
  constexpr bool IS_BIG_ENDIAN = __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__;
  EXPECT_EQ(takeLog(),
            (LogLines{READY, unknownId(0x01020304), unknownId(IS_BIG_ENDIAN ? 0x01010104 : 0x01010101),
                      unknownId(IS_BIG_ENDIAN ? 0x02010104 : 0x01010102), INTERRUPTED}));
}

// With its worker in the pause between two cycles, the engine takes it.
TEST_F(Main, HandsAConfigurationToTheEngineWhichAppliesIt) {
  std::promise<void> asleep;
  std::promise<void> awake;
  onSleep([&](double) {
    asleep.set_value();
    awake.get_future().wait();
  });
  std::thread worker;
  doubles.onEvent = [&](const std::string& event) {
    if (event == "mq_timedreceive" && !worker.joinable()) {
      worker = std::thread([&] { posix.runThread(); });
      asleep.get_future().wait();
      bus.takeTransfers();
    }
  };
  posix.onJoin = [&] {
    awake.set_value();
    worker.join();
  };
  doubles.receives = {{configuration(), 0}};
  EXPECT_EQ(run(), 0);
  onSleep({});
  EXPECT_EQ(bus.takeTransfers(), Transfers{W(0x89, 100)});
  EXPECT_EQ(takeLog(), (LogLines{READY, {6, "POE now setting default configuration\n"}, INTERRUPTED}));
}

TEST_F(Main, DoesNotSayThatItListensToAQueueThatItCouldNotOpen) {
  g_traceObject = new TraceObject("Test", 7);
  doubles.openError = ENOSPC;
  EXPECT_EQ(run(), -1);
  EXPECT_EQ(takeLog(), LogLines{openFailed(ENOSPC)});
}

TEST_F(Main, WithoutAWatchdogClientCreatesAndDeletesTheRestStartsNothingAndReturnsMinusOne) {
  const FailingNew noWatchdog(sizeof(watchdogMonitor)); // neither the engine's
  EXPECT_EQ(run(), -1);
  EXPECT_EQ(output, "");
  EXPECT_THAT(doubles.events, ElementsAre("mq_open /queueToPoe", "server created 10001 8192", "server stop",
                                          "server deleted", "mq_close 31", "mq_unlink /queueToPoe"));
  EXPECT_THAT(doubles.running, Each(false));
  EXPECT_TRUE(takeWatchdogEvents().empty());
  EXPECT_TRUE(posix.calls.empty());
  EXPECT_EQ(bus.closed.size(), 1U);
  EXPECT_EQ(takeLog(), softwareError("main", 60, "Failed to create wdmon\n") + LogLines{READY});
}

TEST_F(Main, WithoutADebugServerStartsTheEngineLeavesOutTheLoopAndReturnsZero) {
  const FailingNew noServer(sizeof(Zorvan::CdebugServer));
  EXPECT_EQ(run(), 0);
  EXPECT_EQ(output, "Now starting pd69104\n...Cpd69104Engine::start\n");
  EXPECT_THAT(doubles.events, ElementsAre("mq_open /queueToPoe", "mq_close 31", "mq_unlink /queueToPoe"));
  EXPECT_THAT(takeWatchdogEvents(), ElementsAreArray(watchdogEventsWith(0)));
  EXPECT_THAT(posix.calls, ElementsAre("pthread_create", "pthread_join"));
  EXPECT_EQ(takeLog(), LogLines{READY});
}

TEST_F(Main, WithoutAnEngineLeavesOutTheLoopAndReturnsZero) {
  const FailingNew noEngine(sizeof(CPD69104Engine));
  EXPECT_EQ(run(), 0);
  EXPECT_EQ(output, "Now starting debugServer\n(server start)\n");
  EXPECT_THAT(doubles.events, ElementsAreArray(eventsWith(0)));
  EXPECT_THAT(takeWatchdogEvents(), ElementsAre("PoeMain created", "PoeMain start 60000", "PoeMain deleted"));
  EXPECT_EQ(takeLog(), LogLines{READY});
}

} // namespace
