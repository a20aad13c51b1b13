// A conversation with a process that floods, drips, is silent or does not accept.
#include "poectl/host/peer_connection.h"

#include "tests/support/process/hostile_peer.h"
#include "tests/support/process/listeners.h"
#include "tests/support/process/temporary_directory.h"

#include <gtest/gtest.h>
#include <optional>
#include <sys/eventfd.h>

namespace {

using Clock = PeerConnection::Clock;
using Kind = PeerError::Kind;

constexpr std::chrono::milliseconds SHORT{300};
constexpr std::chrono::seconds LONG{60};

class PeerConnectionTest : public ::testing::Test {
protected:
  // How a conversation fails; nothing when it does not.
  std::optional<Kind> failure(std::chrono::milliseconds limit, int stop = PeerConnection::NO_STOP) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, path.size());
    const Clock::time_point deadline = Clock::now() + limit;
    try {
      PeerConnection peer(reinterpret_cast<sockaddr*>(&address), sizeof address, deadline, stop);
      peer.send("hello\n", deadline);
      reply = peer.receive(deadline, [](const std::string&) { return false; });
    } catch (const PeerError& error) {
      return error.kind();
    }
    return std::nullopt;
  }

  const TemporaryDirectory folder;
  const std::string path = folder.file("peer");
  std::string reply;
};

TEST_F(PeerConnectionTest, ReturnsWhatComesUntilThePeerCloses) {
  const HostilePeer peer(listenOnPath(path), [](const HostilePeer& self, int connection) {
    self.hear(connection);
    self.say(connection, std::string(PeerConnection::MAX_REPLY_SIZE, 'x'));
  });
  EXPECT_EQ(failure(LONG), std::nullopt);
  EXPECT_EQ(reply, std::string(65536, 'x'));
}

TEST_F(PeerConnectionTest, EndsAtOnceWhenMoreComesThanIsAccepted) {
  const HostilePeer peer(listenOnPath(path), HostilePeer::flood);
  EXPECT_EQ(failure(LONG), Kind::TOO_LONG);
}

TEST_F(PeerConnectionTest, EndsAtItsDeadlineAlthoughSomethingComesAgainAndAgain) {
  const HostilePeer peer(listenOnPath(path), HostilePeer::drip);
  const Clock::time_point start = Clock::now();
  EXPECT_EQ(failure(SHORT), Kind::SILENT);
  EXPECT_GE(Clock::now() - start, SHORT);
}

TEST_F(PeerConnectionTest, EndsAtItsDeadlineWhenNothingComes) {
  const HostilePeer peer(listenOnPath(path), HostilePeer::silent);
  EXPECT_EQ(failure(SHORT), Kind::SILENT);
}

TEST_F(PeerConnectionTest, EndsAtItsDeadlineWhenNobodyAccepts) {
  const int listener = listenOnPath(path, 0);
  const int first = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, path.size());
  ASSERT_EQ(connect(first, reinterpret_cast<sockaddr*>(&address), sizeof address), 0) << "fills the backlog";
  EXPECT_EQ(failure(SHORT), Kind::SILENT);
  close(first);
  close(listener);
}

TEST_F(PeerConnectionTest, EndsWhenItIsStopped) {
  const HostilePeer peer(listenOnPath(path), HostilePeer::drip);
  const int stop = eventfd(1, EFD_CLOEXEC);
  EXPECT_EQ(failure(LONG, stop), Kind::INTERRUPTED);
  close(stop);
}

TEST_F(PeerConnectionTest, SaysThatNobodyListens) {
  EXPECT_EQ(failure(LONG), Kind::UNREACHABLE);
}

} // namespace
