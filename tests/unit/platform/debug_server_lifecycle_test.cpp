// Start and stop of the debug console's server.
#include "platform/debug_server.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <future>
#include <set>
#include <string>
#include <tuple>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <syslog.h>

#include "default_stack_size.h"
#include "gate.h"
#include "system_calls.h"
#include "tests/support/doubles/log_capture.h"
#include "tests/support/doubles/talker.h"
#include "tests/support/process/console_connection.h"

namespace {

class DebugServerLifecycle : public testing::Test {
protected:
  LogLine cannotListen(const std::string& address, const std::string& reason) const {
    return {LOG_ERR, "debug console: cannot listen on " + address + " port " +
                         std::to_string(m_port.number()) + ": " + reason + "\n"};
  }

  // Is a command answered over this family?
  bool isServed(int family) const {
    const ConsoleConnection client(m_port.number(), family);
    return client.isConnected() && client.receiveReply().empty() && client.ask("Echo one") == "[one]\n";
  }

  const Echo m_echo{"Echo"};
  ReservedPort m_port;
  Zorvan::CdebugServer m_server{m_port.number(), 64};
};

// The descriptors that stay open in a program that this process starts.
std::set<int> inheritedDescriptors() {
  std::set<int> result;
  for (int descriptor = 0; descriptor < 1024; ++descriptor) {
    const int flags = fcntl(descriptor, F_GETFD);
    if (flags >= 0 && (flags & FD_CLOEXEC) == 0) {
      result.insert(descriptor);
    }
  }
  return result;
}

} // namespace

TEST_F(DebugServerLifecycle, IsServedOnlyBetweenStartAndStopAnyNumberOfTimesOnOnePort) {
  const std::size_t before = openDescriptors();
  for (int i = 0; i < 5; ++i) {
    for (const int family : {AF_INET, AF_INET6}) {
      EXPECT_FALSE(ConsoleConnection(m_port.number(), family).isConnected());
    }
    EXPECT_TRUE(m_server.start());
    EXPECT_TRUE(isServed(AF_INET));
    EXPECT_TRUE(isServed(AF_INET6));
    m_server.stop();
    EXPECT_EQ(openDescriptors(), before);
  }
}

TEST_F(DebugServerLifecycle, ASecondStartChangesNothing) {
  EXPECT_TRUE(m_server.start());
  const ConsoleConnection client(m_port.number());
  EXPECT_EQ(client.receiveReply(), "");
  EXPECT_TRUE(m_server.start());
  EXPECT_EQ(client.ask("Echo one"), "[one]\n");
}

TEST_F(DebugServerLifecycle, StopWithoutAStartDoesNothing) {
  m_server.stop();
  EXPECT_TRUE(m_server.start());
  m_server.stop();
  m_server.stop();
}

TEST_F(DebugServerLifecycle, StopClosesTheClients) {
  const std::size_t before = openDescriptors();
  EXPECT_TRUE(m_server.start());
  const ConsoleConnection client(m_port.number());
  EXPECT_EQ(client.receiveReply(), "");
  m_server.stop();
  EXPECT_EQ(client.receiveToEnd(), "");
  EXPECT_EQ(openDescriptors(), before + 1);
}

TEST_F(DebugServerLifecycle, StopWaitsForACommandInProgress) {
  Gate entered;
  Gate leave;
  std::atomic<bool> left{false};
  const Talker talker("Talker", [&](const auto&) {
    entered.open();
    leave.wait();
    left = true;
    return "";
  });
  EXPECT_TRUE(m_server.start());
  const ConsoleConnection client(m_port.number());
  client.send("Talker\n");
  ASSERT_TRUE(entered.wait());
  auto stop = std::async(std::launch::async, [&] {
    m_server.stop();
    return left.load();
  });
  EXPECT_EQ(stop.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
  leave.open();
  EXPECT_TRUE(stop.get());
}

TEST_F(DebugServerLifecycle, StopTakesNoFurtherCommand) {
  std::array<Gate, 3> entered;
  std::array<Gate, 3> leave;
  std::atomic<std::size_t> calls{0};
  const Talker talker("Talker", [&](const auto&) {
    const std::size_t call = calls++;
    entered.at(call).open();
    leave.at(call).wait();
    return "";
  });
  EXPECT_TRUE(m_server.start());
  const ConsoleConnection first(m_port.number());
  const ConsoleConnection second(m_port.number());
  const ConsoleConnection third(m_port.number());
  EXPECT_EQ(third.receiveReply(), "");
  first.send("Talker\n");
  ASSERT_TRUE(entered[0].wait());
  // Both are there when the server looks again.
  second.send("Talker\n");
  third.send("Talker\n");
  leave[0].open();
  ASSERT_TRUE(entered[1].wait());
  Gate woken;
  const WatchedEventfd watched(woken);
  auto stop = std::async(std::launch::async, [&] { m_server.stop(); });
  ASSERT_TRUE(woken.wait());
  leave[2].open();
  leave[1].open();
  stop.get();
  EXPECT_EQ(calls, 2U);
}

TEST_F(DebugServerLifecycle, TheDestructorStops) {
  const std::size_t before = openDescriptors();
  {
    Zorvan::CdebugServer server(m_port.number(), 64);
    EXPECT_TRUE(server.start());
  }
  EXPECT_FALSE(ConsoleConnection(m_port.number()).isConnected());
  EXPECT_EQ(openDescriptors(), before);
}

TEST_F(DebugServerLifecycle, AProgramThatTheProcessStartsInheritsNothing) {
  const std::set<int> before = inheritedDescriptors();
  EXPECT_TRUE(m_server.start());
  const ConsoleConnection client(m_port.number());
  EXPECT_EQ(client.receiveReply(), "");
  EXPECT_EQ(inheritedDescriptors(), before);
}

TEST_F(DebugServerLifecycle, ATakenPortIsReportedForEachAddressAndTheObjectStaysUsable) {
  m_port.occupy(AF_INET);
  m_port.occupy(AF_INET6);
  EXPECT_FALSE(m_server.start());
  EXPECT_EQ(takeLog(), (LogLines{cannotListen("127.0.0.1", "Address already in use"),
                                 cannotListen("[::1]", "Address already in use")}));
  m_port.release(AF_INET);
  m_port.release(AF_INET6);
  EXPECT_TRUE(m_server.start());
  EXPECT_TRUE(isServed(AF_INET));
}

TEST_F(DebugServerLifecycle, TheAddressThatIsFreeIsServed) {
  const std::pair<int, const char*> addresses[] = {{AF_INET, "127.0.0.1"}, {AF_INET6, "[::1]"}};
  for (const auto& [family, address] : addresses) {
    m_port.occupy(family);
    EXPECT_TRUE(m_server.start());
    EXPECT_EQ(takeLog(), (LogLines{cannotListen(address, "Address already in use")}));
    EXPECT_TRUE(isServed(family == AF_INET ? AF_INET6 : AF_INET));
    m_server.stop();
    m_port.release(family);
  }
}

TEST_F(DebugServerLifecycle, AMachineWithoutIPv6OrAnAddressOfItIsNoError) {
  using Call = FailingFamily::Call;
  for (const auto& [call, error] : {std::pair{Call::SOCKET, EAFNOSUPPORT}, {Call::BIND, EADDRNOTAVAIL}}) {
    const FailingFamily noIPv6(AF_INET6, call, error);
    EXPECT_TRUE(m_server.start());
    EXPECT_TRUE(isServed(AF_INET));
    m_server.stop();
  }
}

TEST_F(DebugServerLifecycle, ReportsEachCallThatFailsForAnAddressAndServesTheOther) {
  using Call = FailingFamily::Call;
  const std::tuple<int, Call, const char*> calls[] = {{AF_INET, Call::REUSE_ADDRESS, "127.0.0.1"},
                                                      {AF_INET6, Call::ONLY_IPV6, "[::1]"},
                                                      {AF_INET, Call::LISTEN, "127.0.0.1"}};
  for (const auto& [family, call, address] : calls) {
    {
      const FailingFamily failing(family, call, ENOBUFS);
      EXPECT_TRUE(m_server.start());
    }
    EXPECT_EQ(takeLog(), (LogLines{cannotListen(address, "No buffer space available")}));
    EXPECT_TRUE(isServed(family == AF_INET ? AF_INET6 : AF_INET));
    EXPECT_FALSE(ConsoleConnection(m_port.number(), family).isConnected());
    m_server.stop();
  }
}

TEST_F(DebugServerLifecycle, AMachineWithoutIPv4IsReported) {
  const FailingFamily noIPv4(AF_INET, FailingFamily::Call::SOCKET, EAFNOSUPPORT);
  EXPECT_TRUE(m_server.start());
  EXPECT_EQ(takeLog(), (LogLines{cannotListen("127.0.0.1", "Address family not supported by protocol")}));
  EXPECT_TRUE(isServed(AF_INET6));
}

TEST_F(DebugServerLifecycle, WantOfAnEventDescriptorIsReported) {
  const std::size_t before = openDescriptors();
  {
    const FailingEventfd noDescriptors(EMFILE);
    EXPECT_FALSE(m_server.start());
  }
  EXPECT_EQ(takeLog(),
            (LogLines{{LOG_ERR, "debug console: cannot create an event descriptor: Too many open files\n"}}));
  EXPECT_EQ(openDescriptors(), before);
  EXPECT_TRUE(m_server.start());
  EXPECT_TRUE(isServed(AF_INET));
}

TEST_F(DebugServerLifecycle, WantOfAThreadIsReported) {
  const std::size_t before = openDescriptors();
  {
    const DefaultStackSize tooLarge(DefaultStackSize::TOO_LARGE);
    EXPECT_FALSE(m_server.start());
  }
  EXPECT_EQ(takeLog(), (LogLines{{LOG_ERR, "debug console: cannot start the server: Resource temporarily "
                                           "unavailable\n"}}));
  EXPECT_EQ(openDescriptors(), before);
  EXPECT_TRUE(m_server.start());
  EXPECT_TRUE(isServed(AF_INET));
}
