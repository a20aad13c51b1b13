// What a service creates at its start, and a console server in use, with each allocation failing in turn.
#include "tests/support/doubles/allocation.h"

#include <atomic>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <syslog.h>

#include "platform/debug_server.h"
#include "platform/debugable.h"
#include "platform/trace_object.h"
#include "platform/watchdog_monitor.h"
#include "tests/support/doubles/log_capture.h"
#include "tests/support/doubles/talker.h"
#include "tests/support/process/console_connection.h"

static_assert(std::is_nothrow_constructible_v<TraceObject, const std::string&, std::int32_t>);
static_assert(std::is_nothrow_constructible_v<watchdogMonitor, const std::string&>);
static_assert(std::is_nothrow_constructible_v<Zorvan::CdebugServer, std::uint16_t, std::uint32_t>);

namespace {

const std::string LONG_NAME(100, 'n');

// Creates one with each allocation failing in turn; returns how many allocations it makes. The first must be
// its own, and yield nothing; `use` gets what there is otherwise.
template <class Type, class Create, class Use>
std::size_t createWithout(Create create, Use use) {
  for (std::size_t number = 0;; ++number) {
    std::unique_ptr<Type> object;
    bool hasFailed = false;
    {
      const FailingAllocation failing(number);
      object.reset(create());
      hasFailed = failing.hasFailed();
    }
    EXPECT_EQ(object == nullptr, number == 0);
    if (!hasFailed) {
      return number;
    }
    if (object != nullptr) {
      use(*object);
    }
  }
}

} // namespace

TEST(WantOfMemory, LeavesNoTraceObject) {
  const auto create = [] { return new (std::nothrow) TraceObject(LONG_NAME, LOG_INFO); };
  EXPECT_EQ(createWithout<TraceObject>(create, [](TraceObject&) {}), 1U);
}

TEST(WantOfMemory, LeavesNoWatchdogClient) {
  const auto create = [] { return new (std::nothrow) watchdogMonitor(LONG_NAME); };
  EXPECT_EQ(createWithout<watchdogMonitor>(create, [](watchdogMonitor&) {}), 1U);
}

TEST(WantOfMemory, LeavesNoDebugServerOrOneThatReportsThatItCannotStart) {
  const ReservedPort port;
  const auto create = [&] { return new (std::nothrow) Zorvan::CdebugServer(port.number(), 64); };
  const auto use = [](Zorvan::CdebugServer& server) {
    EXPECT_FALSE(server.start());
    EXPECT_EQ(takeLog(), (LogLines{{LOG_ERR, "debug console: cannot start the server: no memory\n"}}));
    server.stop();
  };
  EXPECT_EQ(createWithout<Zorvan::CdebugServer>(create, use), 2U);
}

TEST(WantOfMemory, AtTheStartOfADebugServerIsReportedAndTheNextStartSucceeds) {
  const Echo echo{"Echo"};
  const ReservedPort port;
  bool started = false;
  for (std::size_t number = 0; !started; ++number) {
    Zorvan::CdebugServer server(port.number(), 64);
    bool hasFailed = false;
    {
      const FailingAllocation failing(number);
      started = server.start();
      hasFailed = failing.hasFailed();
    }
    EXPECT_NE(started, hasFailed) << number;
    if (!started) {
      EXPECT_EQ(takeLog(), (LogLines{{LOG_ERR, "debug console: cannot start the server: std::bad_alloc\n"}}));
      EXPECT_TRUE(server.start());
    }
    EXPECT_TRUE(ConsoleConnection(port.number()).isConnected());
  }
}

// Each allocation of the server's thread in turn, from a reply and a new client up to the end of that client.
TEST(WantOfMemory, WhileClientsAreServedClosesThemAllAndServesTheNext) {
  std::optional<FailingAllocation> failing; // the server's thread makes and ends it
  std::atomic<bool> hasFailed{true};
  const Talker starved("Starve", [&](const Talker::Words& words) {
    const UncountedAllocations own;
    failing.emplace(std::stoul(words.at(0)));
    return "a reply that is too long to be kept within the object of a string\n";
  });
  const Talker fed("Feed", [&](const Talker::Words&) {
    const UncountedAllocations own;
    hasFailed = failing->hasFailed();
    failing.reset();
    return "fed\n";
  });
  const ReservedPort port;
  Zorvan::CdebugServer server(port.number(), 128);
  ASSERT_TRUE(server.start());
  std::size_t number = 0;
  for (; hasFailed && !HasFailure(); ++number) {
    const ConsoleConnection idle(port.number());
    idle.receiveReply();
    const ConsoleConnection starving(port.number());
    starving.send("Starve " + std::to_string(number) + "\nquit\n");
    starving.receiveToEnd();
    const ConsoleConnection next(port.number());
    next.send("Feed\nquit\n");
    if (next.receiveToEnd().find("fed") == std::string::npos) { // the failure was its own
      const ConsoleConnection last(port.number());
      EXPECT_EQ(last.receiveReply() + last.ask("Feed"), "fed\n") << number;
    }
    const LogLines closed = {{LOG_ERR, "debug console: no memory; all clients are closed\n"}};
    EXPECT_EQ(takeLog(), hasFailed ? closed : LogLines()) << number;
    if (hasFailed) {
      EXPECT_EQ(idle.receiveToEnd(), "");
    }
  }
  EXPECT_GT(number, 5U);
}

TEST(WantOfMemory, ForTheConsolesEntryLeavesAnObjectThatTheConsoleDoesNotFind) {
  std::unique_ptr<Zorvan::Cdebugable> object;
  {
    void* const place = ::operator new(sizeof(Zorvan::Cdebugable));
    const FailingAllocation failing(0);
    object.reset(new (place) Zorvan::Cdebugable("Name"));
    EXPECT_TRUE(failing.hasFailed());
  }
  EXPECT_EQ(takeLog(), (LogLines{{LOG_ERR, "debug console: no memory for Name; it cannot be addressed\n"}}));
  char name[8] = {};
  EXPECT_EQ(object->dbgFind("Name", name, sizeof name), 1U);
}
