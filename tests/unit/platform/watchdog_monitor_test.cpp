#include "platform/watchdog_monitor.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <future>
#include <iterator>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include "default_stack_size.h"
#include "platform/host/watchdog/service_manager.h"
#include "posix/file_descriptor.h"
#include "stepped_clock.h"
#include "tests/support/doubles/log_capture.h"

namespace {

std::string state(const watchdogMonitor& client) {
  std::array<char, 4096> buffer{};
  client.wdm_dbg(buffer.data(), buffer.size());
  return buffer.data();
}

// Of the client PoeMain.
std::string stateText(const std::string& timeout, const std::string& lastFed, const std::string& state) {
  return "watchdog client         : PoeMain\n"
         "time-out (ms)           : " +
         timeout + "\nlast fed (ms ago)       : " + lastFed + "\nstate                   : " + state + "\n";
}

LogLine lateLine(const std::string& client, const std::string& gap, const std::string& timeout) {
  return {LOG_CRIT,
          "watchdog client " + client + " not fed for " + gap + " ms (time-out " + timeout + " ms)\n"};
}

LogLine fedLine(const std::string& client, const std::string& gap) {
  return {LOG_CRIT, "watchdog client " + client + " fed again after " + gap + " ms\n"};
}

std::size_t threads() {
  const std::filesystem::directory_iterator tasks("/proc/self/task");
  return static_cast<std::size_t>(std::distance(begin(tasks), end(tasks)));
}

// The system may list a thread that has been joined for a moment more.
bool becomes(std::size_t (*value)(), std::size_t expected) {
  for (int i = 0; i < 1000 && value() != expected; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return value() == expected;
}

// The number of threads before a test starts its own. A sanitizer runs one for itself from the first thread
// on.
std::size_t threadsBefore() {
  const std::size_t alone = threads();
  std::thread([] {}).join();
  for (int i = 0; i < 20 && threads() > alone; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return threads();
}

} // namespace

TEST(WatchdogMonitor, ShowsAClientThatIsNotStarted) {
  const watchdogMonitor client("PoeMain");
  EXPECT_EQ(state(client), stateText("0", "0", "NOT STARTED"));
}

TEST(WatchdogMonitor, ShowsThatAClientWasFed) {
  const SteppedClock clock(100000);
  watchdogMonitor client("PoeMain");
  client.wdm_start(60000);
  SteppedClock::advance(1000);
  client.wdm_notify(7);
  SteppedClock::advance(12);
  EXPECT_EQ(state(client), stateText("60000", "12", "IN TIME"));
}

TEST(WatchdogMonitor, ShowsAndReportsAClientThatIsLateAndOneThatIsFedAgain) {
  const SteppedClock clock(100000);
  watchdogMonitor client("PoeMain");
  client.wdm_start(60000);
  SteppedClock::advance(60001);
  EXPECT_EQ(state(client), stateText("60000", "60001", "LATE"));
  EXPECT_EQ(awaitLog(1), LogLines{lateLine("PoeMain", "60001", "60000")});
  SteppedClock::advance(499);
  client.wdm_notify(0);
  EXPECT_EQ(takeLog(), LogLines{fedLine("PoeMain", "60500")});
}

TEST(WatchdogMonitor, ReportsALateClientAtItsDeadlineAndNotBefore) {
  const SteppedClock clock(100000);
  watchdogMonitor first("First");
  watchdogMonitor second("Second"); // its deadline is the earlier one, although it is started later
  first.wdm_start(60000);
  ASSERT_TRUE(SteppedClock::isWaitedFor());
  second.wdm_start(1000);
  SteppedClock::advance(1001);
  EXPECT_EQ(awaitLog(1), LogLines{lateLine("Second", "1001", "1000")});
  SteppedClock::advance(59000);
  EXPECT_EQ(awaitLog(1), LogLines{lateLine("First", "60001", "60000")});
}

TEST(WatchdogMonitor, ALogThatWaitsHoldsUpOnlyWhoHasSomethingToReportAndKeepsTheOrder) {
  const SteppedClock clock(100000);
  watchdogMonitor late("Late");
  watchdogMonitor inTime("InTime");
  late.wdm_start(1000);
  inTime.wdm_start(60000);
  std::future<void> fed;
  std::future<void> fedAgain;
  {
    const StoppedLog log;
    SteppedClock::advance(1001);
    ASSERT_EQ(StoppedLog::awaitWriter(), 1U);
    fed = std::async(std::launch::async, [&] { inTime.wdm_notify(0); });
    EXPECT_EQ(fed.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    fedAgain = std::async(std::launch::async, [&] { late.wdm_notify(0); });
    EXPECT_EQ(fedAgain.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
    EXPECT_EQ(StoppedLog::awaitWriter(), 1U); // the other waits for its turn
  }
  fedAgain.get();
  EXPECT_EQ(takeLog(), (LogLines{lateLine("Late", "1001", "1000"), fedLine("Late", "1001")}));
}

TEST(WatchdogMonitor, ReportsTheLatenessThatNoCheckHasSeenAtTheLatestWhenTheClientIsDestroyed) {
  const SteppedClock clock(100000);
  {
    watchdogMonitor client("PoeMain");
    client.wdm_start(60000);
    SteppedClock::advance(60001);
  }
  EXPECT_EQ(takeLog(), LogLines{lateLine("PoeMain", "60001", "60000")});
}

TEST(WatchdogMonitor, CutsItsStateToTheBuffer) {
  const watchdogMonitor client("PoeMain");
  char buffer[] = "0123456789";
  client.wdm_dbg(buffer, 9);
  EXPECT_STREQ(buffer, "watchdog");
  EXPECT_EQ(buffer[9], '9');
  client.wdm_dbg(buffer, 1);
  EXPECT_STREQ(buffer, "");
  EXPECT_EQ(buffer[1], 'a');
}

TEST(WatchdogMonitor, WritesNothingWithoutABuffer) {
  const watchdogMonitor client("PoeMain");
  char buffer[] = "kept";
  client.wdm_dbg(buffer, 0);
  EXPECT_STREQ(buffer, "kept");
  client.wdm_dbg(nullptr, 100);
}

TEST(WatchdogMonitor, HasASupervisorThreadOnlyWhileAClientIsStarted) {
  const std::size_t before = threadsBefore();
  {
    watchdogMonitor one("One");
    EXPECT_EQ(threads(), before);
    one.wdm_start(60000);
    EXPECT_EQ(threads(), before + 1);
    {
      watchdogMonitor two("Two");
      two.wdm_start(60000);
      two.wdm_start(60000);
      EXPECT_EQ(threads(), before + 1);
    }
    EXPECT_EQ(threads(), before + 1);
  }
  EXPECT_TRUE(becomes(&threads, before)) << threads();
}

TEST(WatchdogMonitor, ClientsMayComeAndGoOnSeveralThreads) {
  const std::size_t before = threadsBefore();
  const auto comeAndGo = [] {
    for (int i = 0; i < 100; ++i) {
      watchdogMonitor client("Client");
      client.wdm_start(60000);
      client.wdm_notify(0);
      state(client);
    }
  };
  std::thread other(comeAndGo);
  comeAndGo();
  other.join();
  EXPECT_TRUE(becomes(&threads, before)) << threads();
}

TEST(WatchdogMonitor, AClientThatIsNeverDestroyedDoesNotKeepTheProcessFromItsEnd) {
  EXPECT_EXIT(
      {
        static watchdogMonitor inStaticMemory("Static");
        inStaticMemory.wdm_start(60000);
        static auto* const forgotten = new watchdogMonitor("Forgotten");
        forgotten->wdm_start(60000);
        std::exit(7);
      },
      testing::ExitedWithCode(7), "");
}

namespace {

// A service manager that the process under test was started by.
class FakeServiceManager {
public:
  // It listens at a file, or, with an "@" ahead, at an abstract name.
  explicit FakeServiceManager(const std::string& name = "@poe-platform-test-" + std::to_string(getpid()))
      : m_socket(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)), m_name(name) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    name.copy(address.sun_path, sizeof address.sun_path);
    if (name[0] == '@') {
      address.sun_path[0] = '\0';
    }
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
    EXPECT_EQ(bind(m_socket.get(), reinterpret_cast<const sockaddr*>(&address), size), 0);
    announce(name);
  }
  FakeServiceManager(const FakeServiceManager&) = delete;
  FakeServiceManager& operator=(const FakeServiceManager&) = delete;
  ~FakeServiceManager() {
    unsetenv("NOTIFY_SOCKET");
    unsetenv("WATCHDOG_USEC");
    unsetenv("WATCHDOG_PID");
    unlink(m_name.c_str());
  }

  static void announce(const std::string& path) {
    setenv("NOTIFY_SOCKET", path.c_str(), 1);
    setenv("WATCHDOG_USEC", "10000000", 1);
  }

  // The next message, or "" when there is none within `timeout` milliseconds.
  std::string message(int timeout) const {
    pollfd descriptor{m_socket.get(), POLLIN, 0};
    if (poll(&descriptor, 1, timeout) != 1) {
      return "";
    }
    std::array<char, 256> bytes{};
    const ssize_t count = recv(m_socket.get(), bytes.data(), bytes.size(), 0);
    return std::string(bytes.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
  }

private:
  FileDescriptor m_socket;
  std::string m_name;
};

constexpr int MAX_WAIT = 10000;

} // namespace

TEST(KeepAlive, ReachesTheServiceManager) {
  const FakeServiceManager manager;
  const ServiceManager connection;
  EXPECT_EQ(manager.message(0), "");
  connection.keepAlive();
  EXPECT_EQ(manager.message(MAX_WAIT), "WATCHDOG=1");
  EXPECT_EQ(manager.message(0), "");
}

TEST(KeepAlive, IsWantedAfterHalfTheTimeThatTheServiceManagerWaits) {
  const FakeServiceManager manager;
  EXPECT_EQ(ServiceManager().period(), 5000U);
  setenv("WATCHDOG_USEC", "1", 1);
  EXPECT_EQ(ServiceManager().period(), 1U);
}

TEST(KeepAlive, IsWantedOnlyWithATimeAndOfTheProcessThatIsNamed) {
  const FakeServiceManager manager;
  const std::string own = std::to_string(getpid());
  EXPECT_EQ(setenv("WATCHDOG_PID", own.c_str(), 1), 0);
  EXPECT_EQ(ServiceManager().period(), 5000U);
  EXPECT_EQ(setenv("WATCHDOG_PID", (own + "0").c_str(), 1), 0);
  EXPECT_EQ(ServiceManager().period(), 0U);
  unsetenv("WATCHDOG_PID");
  for (const char* time : {"", "0", "often"}) {
    EXPECT_EQ(setenv("WATCHDOG_USEC", time, 1), 0);
    EXPECT_EQ(ServiceManager().period(), 0U) << time;
  }
}

TEST(KeepAlive, ReachesAServiceManagerThatListensAtAFile) {
  const FakeServiceManager manager(testing::TempDir() + "poe_notify_" + std::to_string(getpid()));
  ServiceManager().keepAlive();
  EXPECT_EQ(manager.message(MAX_WAIT), "WATCHDOG=1");
}

TEST(KeepAlive, IsNotSentToTheBeginningOfANameThatIsTooLong) {
  const std::string longest = "@" + std::string(sizeof sockaddr_un::sun_path - 1, 'n');
  const FakeServiceManager manager(longest);
  ServiceManager().keepAlive();
  EXPECT_EQ(manager.message(MAX_WAIT), "WATCHDOG=1");
  FakeServiceManager::announce(longest + "n");
  ServiceManager().keepAlive();
  EXPECT_EQ(manager.message(0), "");
}

TEST(KeepAlive, IsNotSentToAServiceManagerThatDoesNotWaitForIt) {
  const FakeServiceManager manager;
  unsetenv("WATCHDOG_USEC");
  const ServiceManager connection;
  EXPECT_EQ(connection.period(), 0U);
  connection.keepAlive();
  EXPECT_EQ(manager.message(0), "");
}

TEST(KeepAlive, IsSentAtOnceAndAfterEachPeriodWhileAllStartedClientsAreInTime) {
  const SteppedClock clock(100000);
  const FakeServiceManager manager;
  watchdogMonitor started("Started");
  const watchdogMonitor notStarted("NotStarted");
  EXPECT_EQ(manager.message(50), "");
  started.wdm_start(60000);
  ASSERT_EQ(manager.message(MAX_WAIT), "WATCHDOG=1");
  SteppedClock::advance(4999);
  EXPECT_EQ(manager.message(50), "");
  SteppedClock::advance(1);
  EXPECT_EQ(manager.message(MAX_WAIT), "WATCHDOG=1");
}

TEST(KeepAlive, IsNotSentAfterTheLastClientIsGone) {
  const SteppedClock clock(100000);
  const FakeServiceManager manager;
  {
    watchdogMonitor client("Client");
    client.wdm_start(60000);
    EXPECT_EQ(manager.message(MAX_WAIT), "WATCHDOG=1");
  }
  SteppedClock::advance(5000);
  EXPECT_EQ(manager.message(50), "");
}

TEST(KeepAlive, IsNotSentWhileAClientIsLateAndIsSentAgainAfterwards) {
  const SteppedClock clock(100000);
  const FakeServiceManager manager;
  watchdogMonitor late("Late");
  watchdogMonitor inTime("InTime");
  inTime.wdm_start(600000);
  late.wdm_start(60000);
  ASSERT_EQ(manager.message(MAX_WAIT), "WATCHDOG=1");
  SteppedClock::advance(60001);
  ASSERT_EQ(awaitLog(1).size(), 1U);
  SteppedClock::advance(5000);
  EXPECT_EQ(manager.message(50), "");
  late.wdm_notify(0);
  EXPECT_EQ(takeLog(), LogLines{fedLine("Late", "65001")});
  SteppedClock::advance(5000);
  EXPECT_EQ(manager.message(MAX_WAIT), "WATCHDOG=1");
}

TEST(WatchdogMonitor, ReportsThatThereIsNoThreadAndHasOneFromTheNextStartOn) {
  const SteppedClock clock(100000);
  watchdogMonitor client("PoeMain");
  watchdogMonitor other("Other");
  std::promise<void> isReported;
  // Started first, as no thread can be created while the stack size is too large.
  std::future<void> fed = std::async(std::launch::async, [&] {
    isReported.get_future().wait();
    other.wdm_notify(0);
  });
  std::future<void> started;
  {
    const StoppedLog log;
    started = std::async(std::launch::async, [&] {
      const DefaultStackSize tooLarge(DefaultStackSize::TOO_LARGE);
      client.wdm_start(1000);
    });
    EXPECT_EQ(StoppedLog::awaitWriter(), 1U);
    isReported.set_value();
    EXPECT_EQ(fed.wait_for(std::chrono::seconds(10)), std::future_status::ready)
        << "whoever logs holds nobody up";
  }
  started.get();
  EXPECT_EQ(takeLog(),
            (LogLines{{LOG_CRIT, "watchdog: cannot start the supervisor thread: Resource temporarily "
                                 "unavailable\n"}}));
  client.wdm_start(1000);
  SteppedClock::advance(1001);
  EXPECT_EQ(awaitLog(1), LogLines{lateLine("PoeMain", "1001", "1000")});
}
