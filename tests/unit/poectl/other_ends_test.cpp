// The queues and the console as poectl uses them, beside ends that fill, break off, refuse and stay silent.
// Needs the queues and the console's port.
#include "poectl/console/console_client.h"
#include "poectl/console/console_snapshot.h"
#include "poectl/console/off_watch.h"
#include "poectl/service/queue.h"
#include "poectl/service/queue_state.h"
#include "poectl/status/timestamp.h"
#include "tests/support/error_text.h"
#include "tests/support/process/hostile_peer.h"
#include "tests/support/process/listeners.h"
#include "tests/unit/poectl/console_sample.h"

#include <chrono>
#include <cstring>
#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <sys/stat.h>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds LIMIT{300};
constexpr milliseconds LONG{60000};
constexpr milliseconds SOON{5000}; // also on a busy machine

// A console whose every connection hears the command and `quit`, and says a text before it closes.
std::string replyTo(const std::string& said) {
  const HostilePeer console(listenOnPort(CONSOLE_PORT), [&](const HostilePeer& self, int connection) {
    self.hear(connection);
    self.hear(connection);
    self.say(connection, said);
  });
  std::string reply;
  const std::string error = errorText<ConsoleError>([&] { reply = askConsole("info", {LONG, -1}); });
  return error == "accepted" ? reply : "error: " + error;
}

TEST(AskConsole, TakesOnlyAWholeReply) {
  const std::pair<const char*, const char*> rows[] = {
      {"> a\nb\n> ", "a\nb\n"},
      {"> > ", ""},
      {"> a\n> b\n> ", "a\n> b\n"},
      {"> a\x1b[2J\n> ", "a\\x1B[2J\n"},
      {"> a\nb", "error: the console has broken off its reply"},
      {"> a\n>", "error: the console has broken off its reply"},
      {"> ", "error: the console has broken off its reply"},
      {"", "error: the console refuses: "},
      {">", "error: the console refuses: >"},
      {"busy\nlater\n> ", "error: the console refuses: busy"},
      {"\x1b[2Jbusy", "error: the console refuses: \\x1B[2Jbusy"},
  };
  for (const auto& [said, result] : rows) {
    EXPECT_EQ(replyTo(said), result) << said;
  }
}

TEST(AskConsole, SaysThatTheConnectionWasBroken) {
  const HostilePeer console(listenOnPort(CONSOLE_PORT), [](const HostilePeer& self, int connection) {
    self.hear(connection);
    self.hear(connection);
    const linger reset{1, 0}; // what close sends
    setsockopt(connection, SOL_SOCKET, SO_LINGER, &reset, sizeof reset);
  });
  EXPECT_EQ(errorText<ConsoleError>([] {
              askConsole("info", {LONG, -1});
            }),
            "the console has broken the connection: Connection reset by peer");
}

TEST(AskConsole, EndsAtOnceWhenTheReplyHasNoEnd) {
  const HostilePeer console(listenOnPort(CONSOLE_PORT), HostilePeer::flood);
  EXPECT_EQ(errorText<ConsoleError>([] {
              askConsole("info", {LONG, -1});
            }),
            "the console replies with more than 65536 bytes, which is the most accepted");
}

// A console that replies to "channel" and "device" with the sample, in which the port is another one.
class SampleConsole {
public:
  explicit SampleConsole(std::string channel = console_sample::CHANNEL)
      : m_channel(std::move(channel)),
        m_peer(listenOnPort(CONSOLE_PORT), [this](const HostilePeer& self, int connection) {
          const std::string command = self.hear(connection);
          self.hear(connection);
          self.say(connection, "> " + reply(command) + "> ");
        }) {}

  std::optional<Snapshot::Time> first; // when the first command came
  Snapshot::Time last{};

private:
  std::string reply(const std::string& command) {
    last = currentTime();
    first = first.value_or(last);
    std::this_thread::sleep_for(milliseconds(2)); // more than the clock's resolution
    const std::size_t channel = command.find("channel ");
    return channel == std::string::npos ? console_sample::DEVICE
                                        : std::string(m_channel).replace(0, sizeof "channel 1" - 1, command,
                                                                         channel, sizeof "channel 1" - 1);
  }

  const std::string m_channel;
  const HostilePeer m_peer;
};

TEST(TakeSnapshot, BeginsBeforeTheFirstQuestionAndEndsAfterTheLast) {
  SampleConsole console;
  const Snapshot snapshot = takeSnapshot(SnapshotReports::TRANSFER_FREE, {LONG, -1});
  EXPECT_EQ(snapshot.status.deviceTemperature, -5);
  EXPECT_LE(snapshot.begin, *console.first);
  EXPECT_GT(snapshot.end, console.last);
}

TEST(HasPower, IsSoForAPortThatIsSwitchedOnOrShowsPower) {
  for (const bool enabled : {false, true}) {
    for (const bool good : {false, true}) {
      std::string channel = console_sample::CHANNEL;
      const auto set = [&](const std::string& label, bool value) {
        const std::size_t start = channel.find(label) + label.size();
        channel.replace(start, channel.find('\n', start) - start, value ? "TRUE" : "FALSE");
      };
      set("  enable                  = ", enabled);
      set("  power_good              = ", good);
      const SampleConsole console(channel);
      EXPECT_EQ(hasPower(1, LONG, -1), enabled || good) << enabled << good;
    }
  }
}

TEST(AskConsole, SendsTheCommandAndQuit) {
  std::string heard;
  {
    const HostilePeer console(listenOnPort(CONSOLE_PORT), [&](const HostilePeer& self, int connection) {
      char request[64] = {};
      const ssize_t length = recv(connection, request, sizeof "channel 1\nquit\n" - 1, MSG_WAITALL);
      heard.assign(request, static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
      self.say(connection, "> a\n> ");
    });
    EXPECT_EQ(askConsole("channel 1"), "a\n");
  }
  EXPECT_EQ(heard, "channel 1\nquit\n");
}

TEST(AskConsole, EndsAtItsDeadlineOrWhenItIsStopped) {
  const HostilePeer console(listenOnPort(CONSOLE_PORT), HostilePeer::silent);
  const Clock::time_point start = Clock::now();
  EXPECT_THROW(askConsole("info", {LIMIT, -1}), ConsoleSilentError);
  EXPECT_GE(Clock::now() - start, LIMIT);
  const int stop = eventfd(1, EFD_CLOEXEC);
  EXPECT_THROW(askConsole("info", {LONG, stop}), ConsoleError);
  close(stop);
  EXPECT_LT(Clock::now() - start, LIMIT + SOON);
}

TEST(AskConsole, SaysThatNobodyListens) {
  EXPECT_FALSE(consolePortIsTaken());
  EXPECT_EQ(errorText<ConsoleClosedError>([] { askConsole("info"); }),
            "cannot reach the console on 127.0.0.1 port 10001: Connection refused; is the service running?");
  const int listener = listenOnPort(CONSOLE_PORT);
  EXPECT_TRUE(consolePortIsTaken());
  close(listener);
}

TEST(ConsoleLine, HasTheEngineInFrontOfItsCommands) {
  const std::pair<const char*, const char*> rows[] = {
      {"channel 0", "PD69104Engine channel 0"},
      {" info", "PD69104Engine  info"},
      {"info\t1", "PD69104Engine info\t1"},
      {"PD69104Engine info", "PD69104Engine info"},
      {"help", "help"},
      {"help info", "help info"},
      {"nobody info", "nobody info"},
      {" \t", " \t"},
      {"", ""},
  };
  for (const auto& [words, line] : rows) {
    EXPECT_EQ(consoleLine(words), line);
  }
  EXPECT_THROW(consoleLine("info\nquit"), ConsoleInputError);
  for (const char* const end : {"quit", " exit", "quit\t"}) {
    EXPECT_TRUE(endsConsole(end)) << end;
  }
  for (const char* const other : {"", " ", "quit now", "info", "xquit"}) {
    EXPECT_FALSE(endsConsole(other)) << other;
  }
}

// "/queueToPoe" with room for two messages, as the service makes it otherwise.
class ServiceQueue {
public:
  ServiceQueue() {
    mq_attr attributes{};
    attributes.mq_maxmsg = 2;
    attributes.mq_msgsize = sizeof(PoeConfigMessage);
    m_queue = mq_open("/queueToPoe", O_RDONLY | O_NONBLOCK | O_CREAT | O_EXCL, 0600, &attributes);
    EXPECT_GE(m_queue, 0) << std::strerror(errno);
  }
  ~ServiceQueue() {
    mq_close(m_queue);
    mq_unlink("/queueToPoe");
  }

  // The limit of bank 0 in the next message; -1: there is none, or another.
  long bank() const {
    PoeConfigMessage message{};
    const ssize_t length = mq_receive(m_queue, reinterpret_cast<char*>(&message), sizeof message, nullptr);
    return length == sizeof message && message.msgId == 0
               ? static_cast<long>(message.config.bankPowerLimit[0])
               : -1L;
  }

private:
  mqd_t m_queue;
};

PoeConfig withBank(std::uint32_t watts) {
  PoeConfig config{};
  config.bankPowerLimit[0] = watts;
  return config;
}

std::string sendError(const SendWait& wait) {
  return errorText<QueueError>([&] { sendConfig(withBank(3), wait); });
}

TEST(SendConfig, WaitsForRoomUntilItsDeadlineOrUntilItIsStopped) {
  EXPECT_EQ(sendError({}), "cannot open /queueToPoe: No such file or directory; is the service running?");
  const ServiceQueue service;
  sendConfig(withBank(1));
  sendConfig(withBank(2), {LIMIT, -1});
  const std::string noRoom =
      "cannot send on /queueToPoe: the service takes no messages, and there is no room";
  Clock::time_point start = Clock::now();
  EXPECT_EQ(sendError({LIMIT, -1}), noRoom);
  EXPECT_GE(Clock::now() - start, LIMIT);
  const int stop = eventfd(1, EFD_CLOEXEC);
  EXPECT_EQ(sendError({LONG, stop}), noRoom);
  close(stop);
  EXPECT_LT(Clock::now() - start, LIMIT + SOON);
  std::thread reader([&] {
    std::this_thread::sleep_for(LIMIT);
    EXPECT_EQ(service.bank(), 1);
  });
  EXPECT_EQ(sendError({LONG, -1}), "accepted");
  reader.join();
  EXPECT_EQ(service.bank(), 2);
  EXPECT_EQ(service.bank(), 3);
  EXPECT_EQ(service.bank(), -1);
}

TEST(SendConfig, WaitsForASecondWhenNothingElseIsSaid) {
  const ServiceQueue service;
  sendConfig(withBank(1));
  sendConfig(withBank(2));
  const Clock::time_point start = Clock::now();
  EXPECT_NE(sendError({}), "accepted");
  EXPECT_GE(Clock::now() - start, milliseconds(1000));
  EXPECT_LT(Clock::now() - start, milliseconds(1000) + SOON);
}

TEST(StatusQueue, ExistsAsLongAsItsObjectAndIsOpenToTheService) {
  EXPECT_FALSE(queueExists("/queueToMain"));
  EXPECT_EQ(queueState("/queueToMain").text(), "does not exist");
  EXPECT_FALSE(removeQueue("/queueToMain"));
  EXPECT_EQ(errorText<QueueError>([] { removeQueue("nonsense"); }),
            "cannot remove queue nonsense: Invalid argument");
  EXPECT_EQ(errorText<QueueError>([] { queueExists("nonsense"); }),
            "cannot look for queue nonsense: Invalid argument");
  const mode_t umaskBefore = umask(0777);
  {
    StatusQueue queue;
    EXPECT_TRUE(queueExists("/queueToMain"));
    EXPECT_THROW(StatusQueue(), QueueError);
    struct stat state {};
    EXPECT_EQ(fstat(queue.descriptor(), &state), 0);
    EXPECT_EQ(state.st_mode & 0777, 0622U);
    mq_attr attributes{};
    EXPECT_EQ(mq_getattr(queue.descriptor(), &attributes), 0);
    EXPECT_EQ(attributes.mq_maxmsg, 10);
    EXPECT_EQ(attributes.mq_msgsize, 188);
    EXPECT_EQ(fcntl(queue.descriptor(), F_GETFD), FD_CLOEXEC);
    char message[188] = {};
    EXPECT_EQ(queue.receive(message, sizeof message), 0U) << "and does not wait";
    EXPECT_THROW(queue.receive(message, 187), QueueError);
    const mqd_t service = mq_open("/queueToMain", O_WRONLY);
    EXPECT_EQ(mq_send(service, "abc", 3, 0), 0);
    mq_close(service);
    EXPECT_EQ(queue.receive(message, sizeof message), 3U);
    EXPECT_STREQ(message, "abc");
  }
  EXPECT_FALSE(queueExists("/queueToMain"));
  {
    const StatusQueue queue;
    EXPECT_TRUE(removeQueue("/queueToMain"));
  }
  umask(umaskBefore);
}

} // namespace
