#include "platform/debugable.h"

#include <array>
#include <atomic>
#include <cstring>
#include <functional>
#include <future>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "gate.h"
#include "platform/debug_server.h"
#include "platform/guard.h"
#include "platform/host/console/console_command.h"
#include "platform/host/console/debug_registry.h"
#include "platform/watchdog_monitor.h"
#include "tests/support/doubles/talker.h"

using Zorvan::Cdebugable;
using Zorvan::DebugRegistry;

namespace {

pthread_mutex_t g_engineMutex = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;

std::string ask(const std::string& line) {
  std::vector<char> buffer(64);
  return Zorvan::ConsoleCommand(line).run(buffer);
}

// The same as another thread sees it.
std::string askElsewhere(const std::string& line) {
  return std::async(std::launch::async, ask, line).get();
}

// Holds a Guard throughout its construction, as the members and the base are built within the caller's
// expression.
class Guarded : public Cdebugable {
public:
  explicit Guarded(const std::function<void()>& inConstructor, const Guard& = Guard(&g_engineMutex))
      : Cdebugable("Guarded") {
    inConstructor();
  }

  std::uint32_t dbgCommand(std::uint32_t, const char* const*, char* out, std::uint32_t) override {
    const Guard guard(&g_engineMutex);
    out[0] = 'G';
    return 1;
  }
};

// What the handler of a Slow object uses; outlives the object.
struct SlowHandler {
  Gate entered;
  Gate leave;
  std::atomic<bool> left{false};
};

// Its handler takes as long as the test wants.
class Slow : public Cdebugable {
public:
  explicit Slow(SlowHandler& handler) : Cdebugable("Slow"), m_handler(handler) {
    DebugRegistry::instance().showConstructed();
  }

  std::uint32_t dbgCommand(std::uint32_t, const char* const*, char* out, std::uint32_t) override {
    SlowHandler& handler = m_handler;
    handler.entered.open();
    handler.leave.wait();
    handler.left = true;
    out[0] = 'S';
    return 1;
  }

private:
  SlowHandler& m_handler;
};

} // namespace

TEST(Cdebugable, TheBaseHandlerKnowsNoCommandAndWritesNothing) {
  Cdebugable object("Name");
  char out[] = "kept";
  const char* const words[] = {"one"};
  EXPECT_EQ(object.dbgCommand(1, words, out, sizeof(out)), 0U);
  EXPECT_STREQ(out, "kept");
}

TEST(Cdebugable, FindsItselfByItsNameAndTheEmptyOneAndCutsItToTheBuffer) {
  Cdebugable object("Name");
  for (const char* const wanted : {"", "Name"}) {
    char out[] = "012345";
    EXPECT_EQ(object.dbgFind(wanted, out, 0), 1U);
    EXPECT_STREQ(out, "012345");
    for (const char* const found : {"", "Na", "Name"}) {
      EXPECT_EQ(object.dbgFind(wanted, out, static_cast<std::uint32_t>(std::strlen(found)) + 1), 1U);
      EXPECT_STREQ(out, found);
    }
  }
}

TEST(Cdebugable, IsNotFoundByAnotherNameAndLeavesTheBufferAlone) {
  Cdebugable object("Name");
  for (const char* other : {"name", "Nam", "Names", " Name"}) {
    char out[] = "kept";
    EXPECT_EQ(object.dbgFind(other, out, sizeof(out)), 0U) << other;
    EXPECT_STREQ(out, "kept");
  }
}

TEST(Cdebugable, HelpsWithItsName) {
  Cdebugable object("Name");
  std::ostringstream out;
  object.dbgHelp(0, nullptr, out);
  EXPECT_EQ(out.str(), "Name\n");
}

TEST(Cdebugable, IsFoundFromConstructionToDestruction) {
  EXPECT_EQ(ask("help"), "");
  {
    const Cdebugable object("Name");
    EXPECT_EQ(ask("help"), "Name\n");
  }
  EXPECT_EQ(ask("help"), "");
}

TEST(Cdebugable, IsFoundByOtherThreadsOnlyWhenItsThreadHasCalledTheWatchdogOrStartedAConsole) {
  watchdogMonitor watchdog("Client");
  Zorvan::CdebugServer server(0, 64);
  const std::vector<std::function<void()>> laterCalls = {
      [&] { watchdog.wdm_start(60000); }, [&] { watchdog.wdm_notify(0); }, [&] { server.start(); }};
  for (const auto& laterCall : laterCalls) {
    const Guarded object([] { EXPECT_EQ(askElsewhere("help"), ""); });
    EXPECT_EQ(askElsewhere("help"), "");
    EXPECT_EQ(ask("help"), "Guarded\n");
    laterCall();
    EXPECT_EQ(askElsewhere("Guarded"), "G");
  }
  server.stop();
}

TEST(Cdebugable, AnExceptionThatLeavesTheConstructorTakesTheRegistrationAway) {
  EXPECT_THROW(Guarded([] { throw std::runtime_error("no"); }), std::runtime_error);
  EXPECT_FALSE(DebugRegistry::Call().next());
}

TEST(Cdebugable, TheDestructorWaitsForACallInProgress) {
  SlowHandler handler;
  auto object = std::make_unique<Slow>(handler);
  auto reply = std::async(std::launch::async, ask, "Slow");
  ASSERT_TRUE(handler.entered.wait());
  auto destruction = std::async(std::launch::async, [&object, &handler] {
    object.reset();
    return handler.left.load();
  });
  EXPECT_EQ(destruction.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
  handler.leave.open();
  EXPECT_TRUE(destruction.get());
  EXPECT_EQ(reply.get(), "S");
}

TEST(Cdebugable, TheDestructorDoesNotWaitForACallToAnotherObject) {
  SlowHandler handler;
  const Slow slow(handler);
  auto object = std::make_unique<Cdebugable>("Name");
  auto reply = std::async(std::launch::async, ask, "Slow");
  ASSERT_TRUE(handler.entered.wait());
  object.reset();
  EXPECT_FALSE(handler.left);
  handler.leave.open();
  EXPECT_EQ(reply.get(), "S");
}

TEST(Cdebugable, IsNotFoundAnyMoreWhileItsDestructorWaits) {
  SlowHandler handler;
  auto object = std::make_unique<Slow>(handler);
  auto reply = std::async(std::launch::async, ask, "Slow");
  ASSERT_TRUE(handler.entered.wait());
  auto destruction = std::async(std::launch::async, [&object] { object.reset(); });
  // A search would wait for the object, which is being called, until its destructor has begun.
  EXPECT_EQ(ask("help"), "");
  EXPECT_FALSE(handler.left);
  handler.leave.open();
  destruction.get();
  EXPECT_EQ(reply.get(), "S");
}

TEST(Cdebugable, MayBeDestroyedByItsOwnHandler) {
  struct Mortal : Cdebugable {
    Mortal() : Cdebugable("Mortal") {}
    std::uint32_t dbgCommand(std::uint32_t, const char* const*, char* out, std::uint32_t) override {
      delete this;
      out[0] = 'X';
      return 1;
    }
  };
  new Mortal;
  EXPECT_EQ(ask("Mortal"), "X");
  EXPECT_EQ(ask("help"), "");
}

TEST(Cdebugable, MayBeDestroyedByTheHandlerOfAnother) {
  auto second = std::make_unique<Cdebugable>("Second");
  const Talker first("First", [&second](const auto&) {
    second.reset();
    return "gone";
  });
  EXPECT_EQ(ask("First"), "gone");
  EXPECT_EQ(ask("help"), "First\n");
}

TEST(Cdebugable, IsCalledByOneThreadAtATime) {
  std::atomic<int> inside{0};
  std::atomic<int> most{0};
  const Talker object("Name", [&](const auto&) {
    const int now = ++inside;
    most = std::max(most.load(), now);
    std::this_thread::yield();
    --inside;
    return "";
  });
  const auto askOften = [] {
    for (int i = 0; i < 500; ++i) {
      ask("Name");
    }
  };
  std::thread other(askOften);
  askOften();
  other.join();
  EXPECT_EQ(most, 1);
}

TEST(DebugRegistry, ACallGoesOnToTheNextObjectWhenItsOwnIsDestroyed) {
  auto first = std::make_unique<Cdebugable>("First");
  const Cdebugable second("Second");
  DebugRegistry::Call call;
  ASSERT_TRUE(call.next());
  EXPECT_EQ(&call.object(), first.get());
  first.reset();
  ASSERT_TRUE(call.next());
  EXPECT_EQ(&call.object(), &second);
  EXPECT_FALSE(call.next());
}
