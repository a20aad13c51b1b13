// What the engine does under its mutex and what outside of it.
#include "platform/host/console/console_command.h"
#include "platform/host/console/debug_registry.h"
#include "tests/unit/service/console_fixture.h"
#include "tests/unit/service/guard_double.h"

#include <atomic>
#include <gmock/gmock.h>
#include <thread>
#include <utility>

namespace {

using ::testing::ElementsAre;

std::function<void()> atRelease;

// Calls `action` once, when the calling thread lets go of the mutex that it holds.
void whenReleased(std::function<void()> action) {
  atRelease = std::move(action);
  atLastGuardRelease([] { std::exchange(atRelease, {})(); });
}

class EngineMutex : public Console {
protected:
  EngineMutex() {
    bus.failWhen([this](std::size_t, const Transfer& transfer) {
      if (!threadHoldsGuard()) {
        outside.push_back(transfer);
      }
      return false;
    });
  }

  void TearDown() override {
    onWatchdogEvent({});
    Console::TearDown();
  }

  // Expects that the operation makes transfers, all of them under the mutex.
  void expectHeldBy(const std::string& name, const Step& operation) {
    bus.takeTransfers();
    operation();
    EXPECT_GT(bus.transferCount(), 0U) << name;
    EXPECT_THAT(outside, ElementsAre()) << name;
    takeLog();
  }

  void note() { held.push_back(threadHoldsGuard()); }

  Transfers outside;      // made without the mutex
  std::vector<bool> held; // at each note()
};

TEST_F(EngineMutex, IsHeldForEveryTransferOfTheWorker) {
  makeEngine();
  expectHeldBy("two cycles", [&] { runCycles({[&] { configure(fourPorts()); }, [] {}}); });
}

TEST_F(EngineMutex, IsHeldForEveryTransferOfWhatOtherThreadsMayCall) {
  makeEngine();
  runCycles({[&] { expectHeldBy("handleConfig", [&] { configure(fourPorts()); }); }});
  expectHeldBy("applyConfig", [&] { engine->applyConfig(fourPorts(), true); });
  expectHeldBy("configurePort, on", [&] { engine->configurePort(0, fourPorts().port[0]); });
  expectHeldBy("configurePort, off", [&] { engine->configurePort(0, PoePortConfig{}); });
  expectHeldBy("pollPort", [&] { engine->pollPort(0); });
}

TEST_F(EngineMutex, IsHeldForEveryTransferOfTheConsole) {
  makeEngine();
  for (const std::vector<std::string>& command :
       {std::vector<std::string>{"info"}, {"poeport", "1"}, {"readReg", "12"}, {"writeReg", "12", "1"}}) {
    expectHeldBy(command.front(), [&] { reply(command); });
  }
}

// The console asks from another thread in the middle of the construction.
TEST_F(EngineMutex, IsHeldUntilTheWholeEngineIsConstructedForAConsoleThatComesBefore) {
  std::string text;
  std::atomic<bool> answered{false};
  std::thread console;
  onWatchdogEvent([&](const std::string& event) {
    if (event == "PoeEngine created") {
      Zorvan::DebugRegistry::instance().showConstructed(); // the card's console may show an object at once
      console = std::thread([&] {
        std::vector<char> buffer(8192);
        text = Zorvan::ConsoleCommand("PD69104Engine info").run(buffer);
        answered = true;
      });
      while (guardsWanted() == 0 && !answered) {
        std::this_thread::yield();
      }
    }
  });
  makeEngine();
  console.join();
  onWatchdogEvent({});
  EXPECT_NE(text.find("state of PoeEngine\n"), std::string::npos) << text;
  EXPECT_NE(text.find("PD69104 DRIVER\n"), std::string::npos) << text;
}

TEST_F(EngineMutex, IsNotHeldWhileAStatusIsSent) {
  makeEngine();
  posix.onSend = [&] { note(); };
  runCycles({[] {}});
  EXPECT_THAT(held, ElementsAre(false));
  takeLog();
}

TEST_F(EngineMutex, IsHeldFromApplyingAConfigurationUntilItIsStored) {
  makeEngine();
  std::string seenBehind;
  runCycles({[&] {
    bool first = true;
    bus.failWhen([&](std::size_t, const Transfer&) {
      if (std::exchange(first, false)) {
        whenReleased([&] { seenBehind = reply({"poeport", "0"}); });
      }
      return false;
    });
    configure(fourPorts());
  }});
  EXPECT_NE(seenBehind.find("admin enable              = TRUE\n"), std::string::npos) << seenBehind;
  takeLog();
}

TEST_F(EngineMutex, IsHeldWhenACycleFeedsTheWatchdog) {
  makeEngine();
  onWatchdogEvent([&](const std::string& event) {
    if (event == "PoeEngine notify 0") {
      note();
    }
  });
  runCycles({[] {}, [] {}});
  EXPECT_THAT(held, ElementsAre(true, true));
  takeLog();
}

TEST_F(EngineMutex, IsHeldWhileTheConsoleAsksTheWatchdog) {
  makeEngine();
  onWatchdogEvent([&](const std::string&) { note(); });
  reply({"info"});
  EXPECT_THAT(held, ElementsAre(true));
}

TEST_F(EngineMutex, IsNotHeldWhileAWorkerIsJoinedThatNeedsItForItsLastCycle) {
  makeEngine();
  posix.onJoin = [&] { note(); };
  engine->start();
  engine->stop();
  engine->start();
  engine.reset();
  EXPECT_THAT(held, ElementsAre(false, false));
}

TEST_F(EngineMutex, IsHeldWhileDestructionClosesTheBusAndDeletesTheWatchdog) {
  makeEngine();
  bus.onClose = [&] { note(); };
  onWatchdogEvent([&](const std::string&) { note(); });
  engine.reset();
  EXPECT_THAT(held, ElementsAre(true, true));
}

// The console asks on the destruction's own thread: the mutex is recursive.
TEST_F(EngineMutex, LeavesNothingDeletedToAConsoleThatComesDuringOrAfterDestruction) {
  makeEngine();
  CPD69104Engine* const leaving = engine.get();
  const auto ask = [&](const std::vector<const char*>& words) {
    char out[8192] = {};
    leaving->dbgCommand(static_cast<std::uint32_t>(words.size()), words.data(), out, sizeof out);
    return std::string(out);
  };
  std::string during;
  std::string behind;
  onWatchdogEvent([&](const std::string&) {
    during = ask({"channel", "0"});
    whenReleased([&] { behind = ask({"info"}); });
  });
  engine.reset();
  EXPECT_NE(during.find("No POE device found\n"), std::string::npos) << during;
  EXPECT_NE(behind.find("No watchdog device found\n"), std::string::npos) << behind;
  EXPECT_NE(behind.find("No POE device found\n"), std::string::npos) << behind;
}

TEST_F(EngineMutex, KeepsNoConfigurationWaitingThatComesDuringTheSetUp) {
  makeEngine();
  const PoeConfig config = fourPorts();
  bool first = true;
  // Were the engine ACTIVE already, the other thread would wait for ever.
  bus.failWhen([&](std::size_t, const Transfer& transfer) {
    if (transfer.kind == 'W' && std::exchange(first, false)) {
      std::thread([&] { configure(config); }).join();
    }
    return false;
  });
  runCycles({[] {}});
  EXPECT_FALSE(first);
  EXPECT_EQ(registersMoved(), SET_UP + HEALTHY_CYCLE);
  takeLog();
}

} // namespace
