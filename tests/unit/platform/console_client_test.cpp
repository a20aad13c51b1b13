// One connection, round by round, over a pair of local sockets.
#include "platform/host/console/console_client.h"

#include <array>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>

#include "stepped_clock.h"
#include "system_calls.h"
#include "tests/support/doubles/talker.h"

using Zorvan::ConsoleClient;

namespace {

constexpr std::size_t REPLY_SIZE = std::size_t{4} * 1024 * 1024; // more than the sockets hold

struct SocketPair {
  SocketPair() {
    std::array<int, 2> ends{};
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data()), 0);
    ours = FileDescriptor(ends[0]);
    theirs = FileDescriptor(ends[1]);
  }

  FileDescriptor ours;
  FileDescriptor theirs;
};

class ConsoleClientTest : public testing::Test {
protected:
  void write(const std::string& bytes) const {
    EXPECT_EQ(send(m_pair.theirs.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(bytes.size()));
  }

  // What has come so far.
  std::string read() const {
    std::string bytes(REPLY_SIZE, '\0');
    const ssize_t count = recv(m_pair.theirs.get(), bytes.data(), bytes.size(), 0);
    bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return bytes;
  }

  bool isAtEnd() const {
    char byte = 0;
    return recv(m_pair.theirs.get(), &byte, 1, 0) == 0;
  }

  void serve(short events) { m_client.serve(events, m_buffer); }

  // A round in which these bytes come.
  void take(const std::string& bytes) {
    write(bytes);
    serve(POLLIN);
  }

  const SteppedClock m_clock{100000};
  const Echo m_echo{"Echo"};
  const Talker m_huge{"Huge", [](const auto&) { return std::string(REPLY_SIZE, 'x'); }};
  std::vector<char> m_buffer = std::vector<char>(REPLY_SIZE);
  SocketPair m_pair;
  const FileDescriptor m_unread{dup(m_pair.ours.get())}; // to look at what the client has left in its socket
  ConsoleClient m_client{std::move(m_pair.ours)};
};

} // namespace

TEST_F(ConsoleClientTest, IsSentItsPromptWithoutAsking) {
  EXPECT_EQ(read(), "> ");
}

TEST_F(ConsoleClientTest, WaitsForInputWithoutADeadline) {
  EXPECT_EQ(m_client.events(), POLLIN);
  EXPECT_EQ(m_client.deadline(), ConsoleClient::NEVER);
  EXPECT_FALSE(m_client.isReady());
}

TEST_F(ConsoleClientTest, IsAnsweredInTheRoundInWhichItsCommandComes) {
  read();
  take("Echo one\n");
  EXPECT_EQ(read(), "[one]\n> ");
}

TEST_F(ConsoleClientTest, IsReadyWhileItHasMoreCommands) {
  read();
  take("Echo one\nEcho two\n");
  EXPECT_EQ(read(), "[one]\n> ");
  EXPECT_TRUE(m_client.isReady());
  serve(0);
  EXPECT_EQ(read(), "[two]\n> ");
  EXPECT_FALSE(m_client.isReady());
}

TEST_F(ConsoleClientTest, WaitsForRoomWhileOutputWaits) {
  read();
  take("Huge\nEcho one\n");
  EXPECT_EQ(m_client.events(), POLLOUT);
  EXPECT_FALSE(m_client.isReady());
}

TEST_F(ConsoleClientTest, TakesNoInputWhileOutputWaits) {
  take("Huge\n");
  serve(POLLIN);
  write("Echo one\n");
  serve(POLLIN | POLLOUT);
  std::array<char, 64> unread{};
  EXPECT_EQ(recv(m_unread.get(), unread.data(), unread.size(), MSG_PEEK), 9);
}

TEST_F(ConsoleClientTest, IsGivenUpAfterAMinuteWithoutProgress) {
  take("Huge\n");
  EXPECT_EQ(m_client.deadline(), 160000U);
  SteppedClock::advance(59999);
  serve(POLLOUT);
  EXPECT_EQ(m_client.deadline(), 160000U);
  m_client.expire(159999);
  EXPECT_FALSE(m_client.isGone());
  m_client.expire(160000);
  EXPECT_TRUE(m_client.isGone());
}

TEST_F(ConsoleClientTest, HasAnotherMinuteAfterEachProgress) {
  take("Huge\n");
  SteppedClock::advance(59999);
  EXPECT_FALSE(read().empty());
  serve(POLLOUT);
  EXPECT_EQ(m_client.deadline(), 219999U);
}

TEST_F(ConsoleClientTest, HasNoDeadlineAnyMoreWhenAllIsSent) {
  take("Huge\n");
  std::size_t received = 0;
  for (std::string part = read(); !part.empty(); part = read()) {
    received += part.size();
    serve(POLLOUT);
  }
  EXPECT_EQ(received, 2 + REPLY_SIZE + 2);
  EXPECT_EQ(m_client.deadline(), ConsoleClient::NEVER);
  EXPECT_EQ(m_client.events(), POLLIN);
}

TEST_F(ConsoleClientTest, HasTwoSecondsToCloseAfterQuit) {
  read();
  write("quit\n");
  EXPECT_TRUE(m_client.isServed());
  serve(POLLIN);
  EXPECT_FALSE(m_client.isServed());
  EXPECT_FALSE(m_client.isGone());
  EXPECT_TRUE(isAtEnd());
  EXPECT_EQ(m_client.deadline(), 102000U);
  m_client.expire(101999);
  EXPECT_FALSE(m_client.isGone());
  m_client.expire(102000);
  EXPECT_TRUE(m_client.isGone());
}

TEST_F(ConsoleClientTest, WritingDoesNotProlongTheTimeToClose) {
  take("quit\n");
  SteppedClock::advance(1000);
  take("Echo one\n");
  EXPECT_FALSE(m_client.isGone());
  EXPECT_EQ(m_client.deadline(), 102000U);
}

TEST_F(ConsoleClientTest, IsGoneWhenItClosesAfterQuit) {
  take("quit\n");
  m_pair.theirs = FileDescriptor();
  serve(0);
  EXPECT_FALSE(m_client.isGone());
  serve(POLLIN);
  EXPECT_TRUE(m_client.isGone());
}

TEST_F(ConsoleClientTest, IsGoneAtTheEndOfItsInput) {
  read();
  m_pair.theirs = FileDescriptor();
  serve(POLLHUP);
  EXPECT_TRUE(m_client.isGone());
}

TEST_F(ConsoleClientTest, IsGoneAtAReset) {
  m_pair.theirs = FileDescriptor(); // with the prompt unread
  serve(POLLHUP);
  EXPECT_TRUE(m_client.isGone());
}

TEST_F(ConsoleClientTest, AnEventWithNothingToReceiveHarmsNothing) {
  serve(POLLIN);
  EXPECT_TRUE(m_client.isServed());
  take("quit\n");
  serve(POLLIN);
  EXPECT_FALSE(m_client.isServed());
  EXPECT_FALSE(m_client.isGone());
}

TEST_F(ConsoleClientTest, IsGoneWhenItBreaksOffWhileOutputWaits) {
  take("Huge\n");
  m_pair.theirs = FileDescriptor();
  serve(POLLHUP);
  EXPECT_TRUE(m_client.isGone());
}

TEST_F(ConsoleClientTest, IsIdleUntilACommandComesAndAgainWhenTheReplyIsSent) {
  EXPECT_TRUE(m_client.isIdle());
  read();
  take("Huge\n");
  EXPECT_FALSE(m_client.isIdle());
  while (!m_client.isIdle()) {
    EXPECT_NE(read(), "");
    serve(POLLOUT);
  }
}

TEST_F(ConsoleClientTest, IsActiveWhenBytesGoInOrOut) {
  EXPECT_EQ(m_client.lastActive(), 100000U);
  SteppedClock::advance(5);
  serve(0);
  EXPECT_EQ(m_client.lastActive(), 100000U);
  take("E");
  EXPECT_EQ(m_client.lastActive(), 100005U);
}

TEST_F(ConsoleClientTest, IsAnsweredAsIfItHadNotNegotiated) {
  read();
  take("\xFF\xFD\x03\xFF\xFB\x18"
       "Echo \xFF\xFA\x18\n\xFF\xF0one\n");
  EXPECT_EQ(read(), "[one]\n> ");
}

TEST_F(ConsoleClientTest, ThatIsDismissedGetsTheReasonAndIsNotServedAnyMore) {
  read();
  m_client.dismiss("No room\n");
  EXPECT_FALSE(m_client.isServed());
  take("Echo one\n");
  EXPECT_EQ(read(), "No room\n");
  EXPECT_TRUE(isAtEnd());
}

TEST_F(ConsoleClientTest, ThatIsNotConnectedAnyMoreIsGoneWhenItIsDismissed) {
  ConsoleClient unconnected(FileDescriptor(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)));
  unconnected.dismiss("No room\n");
  EXPECT_TRUE(unconnected.isGone());
}

TEST_F(ConsoleClientTest, KeepsAReplyThatASignalInterrupts) {
  read();
  write("Huge\n");
  {
    const NoRoomForLongReplies interrupted(EINTR);
    serve(POLLIN);
  }
  EXPECT_TRUE(m_client.isServed());
  EXPECT_EQ(read(), "");
  serve(POLLOUT);
  EXPECT_NE(read(), "");
}

TEST_F(ConsoleClientTest, IsSentEachByteOnceWhenOneAtATimeGoesOut) {
  read();
  write("Echo one\n");
  const OneByteSends slow;
  serve(POLLIN);
  std::string reply = read();
  for (unsigned round = 0; round < 7; ++round) {
    serve(POLLOUT);
    reply += read();
  }
  EXPECT_EQ(reply, "[one]\n> ");
}
