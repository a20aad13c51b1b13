// The console answers this machine and no other.
#include "components/PoeDriver/poe_messages.h"
#include "tests/support/process/console_connection.h"
#include "tests/support/process/process_fixture.h"
#include "tests/system/permissions/neighbour.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr std::uint16_t OPEN_PORT = 10002;

// Somebody who listens on all addresses, to show that the neighbour reaches this machine.
class OpenDoor {
public:
  OpenDoor() : m_socket(socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in6 any{};
    any.sin6_family = AF_INET6;
    any.sin6_port = htons(OPEN_PORT);
    EXPECT_EQ(bind(m_socket.get(), reinterpret_cast<const sockaddr*>(&any), sizeof any), 0);
    EXPECT_EQ(listen(m_socket.get(), 8), 0);
  }

private:
  FileDescriptor m_socket;
};

class ConsoleReach : public ServiceTest, public ::testing::WithParamInterface<const char*> {};

TEST_P(ConsoleReach, EndsAtTheLoopback) {
  const Neighbour neighbour;
  if (!neighbour.refusal().empty()) {
    GTEST_SKIP() << "there is no second machine: " << neighbour.refusal();
  }
  startService();
  const OpenDoor door;
  ASSERT_EQ(neighbour.connect(GetParam(), OPEN_PORT), "") << "the two machines are not joined";
  EXPECT_EQ(neighbour.connect(GetParam(), CONSOLE_PORT), "Connection refused");
  for (const int family : {AF_INET, AF_INET6}) {
    EXPECT_EQ(ConsoleConnection(CONSOLE_PORT, family).receiveReply(), "") << "no prompt on the loopback";
  }
}

INSTANTIATE_TEST_SUITE_P(From, ConsoleReach, ::testing::Values(Neighbour::HERE_IPV4, Neighbour::HERE_IPV6),
                         [](const auto& address) {
                           return std::string(address.param).find(':') == std::string::npos ? "IPv4" : "IPv6";
                         });

} // namespace
