// The control socket of a poe_card that is running.
#include "card_process.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <ctime>
#include <fstream>
#include <gtest/gtest.h>
#include <thread>

#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

constexpr const char* OK = "ok\n\n";
constexpr int MAX_WAIT = 20'000; // ms

FileDescriptor connectTo(const std::filesystem::path& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
  FileDescriptor end(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (connect(end.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    ADD_FAILURE() << path << ": " << std::strerror(errno);
  }
  return end;
}

// What a process has used of a processor.
std::chrono::nanoseconds processorTime(pid_t pid) {
  clockid_t clock{};
  timespec used{};
  if (clock_getcpuclockid(pid, &clock) != 0 || clock_gettime(clock, &used) != 0) {
    ADD_FAILURE() << "no processor time of process " << pid;
  }
  return std::chrono::seconds(used.tv_sec) + std::chrono::nanoseconds(used.tv_nsec);
}

// A limit of this many descriptors leaves the process none; one below what it polls would make poll fail.
rlim_t lowestFreeDescriptor(pid_t pid) {
  const std::filesystem::path folder = "/proc/" + std::to_string(pid) + "/fd";
  rlim_t number = 0;
  while (std::filesystem::is_symlink(folder / std::to_string(number))) {
    ++number;
  }
  return number;
}

class Client {
public:
  explicit Client(const std::filesystem::path& path) : m_end(connectTo(path)) {}

  // False: poe_card does not take it any more.
  bool send(const std::string& text) const {
    for (std::size_t sent = 0; sent < text.size();) {
      const ssize_t part = ::send(m_end.get(), text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
      if (part < 0) {
        return false;
      }
      sent += static_cast<std::size_t>(part);
    }
    return true;
  }
  // Sends as much as is taken without waiting.
  std::size_t sendWhatIsTaken(const std::string& text) const {
    const ssize_t sent = ::send(m_end.get(), text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    return sent < 0 ? 0 : static_cast<std::size_t>(sent);
  }
  // One reply with the empty line; what there is if poe_card closes before.
  std::string reply() const {
    std::string text;
    for (char character = 0; text.find("\n\n") == std::string::npos && receive(&character);) {
      text += character;
    }
    return text;
  }
  std::string ask(const std::string& command) const {
    send(command + "\n");
    return reply();
  }
  bool closed() const {
    char character = 0;
    return !receive(&character);
  }

private:
  bool receive(char* character) const {
    pollfd waiting{m_end.get(), POLLIN, 0};
    if (poll(&waiting, 1, MAX_WAIT) != 1) {
      ADD_FAILURE() << "no reply";
      return false;
    }
    return read(m_end.get(), character, 1) == 1;
  }

  FileDescriptor m_end;
};

void expectExists(const std::filesystem::path& path) {
  expectRefusal(runCard({"--control", path.string(), "--", "true"}),
                "--control: " + path.string() +
                    " exists; accepted is a new path, or a socket without a listener");
}

// A poe_card with a control socket, at a command that waits for its end.
class PoeCardControl : public testing::Test {
protected:
  PoeCardControl() { card.line(); }

  TemporaryDirectory directory;
  const std::filesystem::path path = directory.path() / "control";
  const std::string waiting = "echo up; exec sleep 60";
  CardProcess card{directory.path(), {"--control", path.string(), "--", "sh", "-c", waiting}};
};

TEST_F(PoeCardControl, IsASocketForItsUserOnly) {
  struct stat file {};
  ASSERT_EQ(lstat(path.c_str(), &file), 0);
  EXPECT_TRUE(S_ISSOCK(file.st_mode));
  EXPECT_EQ(file.st_mode & 0777U, 0600U);
}

TEST_F(PoeCardControl, RepliesToEachLineWithLinesAndAnEmptyOne) {
  const Client client(path);
  EXPECT_EQ(client.ask("plug 0 class=2"), OK);
  EXPECT_EQ(client.ask("reg 0x43"), "0x43 0x41\n\n");
  EXPECT_EQ(client.ask("bank 16"), "error: '16' is no N; accepted is bank N with N 0 to 15\n\n");
  EXPECT_EQ(client.ask("").rfind("error: there is no command; accepted are plug, ", 0), 0U);
  EXPECT_EQ(client.ask("show").rfind("port 0: device=good class=2 watts=5 phase=off", 0), 0U);
}

TEST_F(PoeCardControl, ServesSeveralClientsOnOneCard) {
  const Client first(path);
  const Client second(path);
  EXPECT_EQ(second.ask("reg 0x20 7"), OK);
  EXPECT_EQ(first.ask("reg 0x20"), "0x20 0x07\n\n");
}

TEST_F(PoeCardControl, IsNotHeldUpByAClientThatNeverReads) {
  const Client silent(path);
  const std::string commands(4000, '\n');
  std::size_t taken = 0;
  for (std::size_t sent = 1; sent > 0; taken += sent) {
    sent = silent.sendWhatIsTaken(commands);
    if (sent == 0) { // poe_card may just not have come to it
      EXPECT_EQ(Client(path).ask("reg 0x43"), "0x43 0x41\n\n");
      sent = silent.sendWhatIsTaken(commands);
    }
    ASSERT_LT(taken, 100'000'000U) << "poe_card takes everything and keeps the replies";
  }
  EXPECT_EQ(Client(path).ask("reg 0x43"), "0x43 0x41\n\n");
}

TEST_F(PoeCardControl, SendsMoreThanASocketHoldsToAClientThatReadsLate) {
  const Client client(path);
  std::string commands;
  for (int i = 0; i < 400; ++i) {
    commands += "dump\n";
  }
  ASSERT_TRUE(client.send(commands));
  for (int i = 0; i < 400; ++i) {
    ASSERT_EQ(client.reply().size(), 1 + 17 * 72U) << i;
  }
}

TEST_F(PoeCardControl, TurnsClientsAwayWhenThereAreTooMany) {
  std::vector<Client> clients;
  for (int i = 0; i < 64; ++i) {
    clients.emplace_back(path);
    ASSERT_EQ(clients.back().ask("reg 0x43"), "0x43 0x41\n\n");
  }
  EXPECT_TRUE(Client(path).closed());
  clients.clear(); // which poe_card takes note of one after the other
  std::string reply;
  while (reply.empty()) {
    reply = Client(path).ask("reg 0x43");
  }
  EXPECT_EQ(reply, "0x43 0x41\n\n");
}

TEST(PoeCardControlWithFewDescriptors, WaitsWithoutSpinningForADescriptorForAClient) {
  const TemporaryDirectory directory;
  const std::string path = directory.file("control");
  // After a transfer the adapter has opened all that it needs.
  CardProcess card(directory.path(), {"--control", path, "--", CARD_PROBE, "open", "bind:0x20", "read:0x43",
                                      "catch:15", "say:up", "wait:15"});
  for (const char* const line : {"ok", "ok", "0x41", "up"}) {
    ASSERT_EQ(card.line(), line);
  }
  rlimit before{};
  ASSERT_EQ(prlimit(card.pid(), RLIMIT_NOFILE, nullptr, &before), 0);
  const rlimit none{lowestFreeDescriptor(card.pid()), before.rlim_max};
  ASSERT_EQ(prlimit(card.pid(), RLIMIT_NOFILE, &none, nullptr), 0);
  const Client client(path);
  client.send("reg 0x43\n");
  const std::chrono::nanoseconds used = processorTime(card.pid());
  std::this_thread::sleep_for(std::chrono::milliseconds(500)); // in which it must do next to nothing
  EXPECT_LT(processorTime(card.pid()) - used, std::chrono::milliseconds(100));
  ASSERT_EQ(prlimit(card.pid(), RLIMIT_NOFILE, &before, nullptr), 0);
  EXPECT_EQ(client.reply(), "0x43 0x41\n\n");
  card.send(SIGTERM);
  EXPECT_EQ(card.wait(), 0);
}

TEST(PoeCardControlWithFewDescriptors, LeavesSomeForTheAdapter) {
  const TemporaryDirectory directory;
  const std::string path = directory.file("control");
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  CardProcess card(directory.path(), {"--control", path, "--", CARD_PROBE, "catch:15", "say:up", "wait:15",
                                      "open", "bind:0x20", "read:0x43"});
  ASSERT_EQ(card.line(), "up");
  const rlimit few{32, before.rlim_max};
  ASSERT_EQ(prlimit(card.pid(), RLIMIT_NOFILE, &few, nullptr), 0);
  std::vector<Client> clients;
  std::string reply = "not asked";
  for (int i = 0; i < 64 && !reply.empty(); ++i) {
    clients.emplace_back(path);
    reply = clients.back().ask("reg 0x43");
  }
  EXPECT_EQ(reply, "") << "the last client is not turned away";
  card.send(SIGTERM);
  EXPECT_EQ(card.rest(), "caught 15\nok\nok\n0x41\n");
  EXPECT_EQ(card.errors(), "");
  EXPECT_EQ(card.wait(), 0);
}

// The mode keeps other users from connecting; a descriptor that was handed to one does not make it ours.
TEST_F(PoeCardControl, TurnsAwayAClientOfAnotherUser) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "only root can become another user";
  }
  ASSERT_EQ(chmod(path.c_str(), 0666), 0);
  ASSERT_EQ(chmod(directory.path().c_str(), 0755), 0);
  ASSERT_EQ(seteuid(4711), 0);
  const Client stranger(path);
  ASSERT_EQ(seteuid(0), 0);
  EXPECT_TRUE(stranger.closed());
  EXPECT_EQ(Client(path).ask("reg 0x43"), "0x43 0x41\n\n");
}

TEST_F(PoeCardControl, GoesAwayWithPoeCard) {
  card.send(SIGTERM);
  EXPECT_EQ(card.wait(), 128 + SIGTERM);
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(PoeCardControl, IsNotTakenFromAPoeCardThatListens) {
  expectExists(path);
  EXPECT_EQ(Client(path).ask("reg 0x43"), "0x43 0x41\n\n");
}

TEST_F(PoeCardControl, TakesThePlaceOfOneWhosePoeCardWasKilled) {
  card.send(SIGKILL);
  EXPECT_EQ(card.wait(), -SIGKILL);
  ASSERT_TRUE(std::filesystem::exists(path));
  EXPECT_EQ(runCard({"--control", path.string(), "--", "true"}).status, 0);
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(PoeCardControlOfABusyBus, ChangesTheCardBetweenTransfers) {
  const TemporaryDirectory directory;
  const std::string path = directory.file("control");
  CardProcess card(directory.path(),
                   {"--control", path, "--", CARD_PROBE, "open", "bind:0x20", "write:0x12:0xFF",
                    "write:0x14:0xFF", "await:0x10:0x11", "say:powered", "busy"});
  EXPECT_EQ(card.line(), "ok") << "the command has started";
  const Client client(path);
  ASSERT_EQ(client.ask("plug 0"), OK);
  for (const char* said : {"ok", "ok", "ok", "0x11", "powered"}) {
    EXPECT_EQ(card.line(), said);
  }
  for (int i = 0; i < 100; ++i) {
    ASSERT_EQ(client.ask(i % 2 == 0 ? "draw 0 3" : "draw 0 12"), OK);
    ASSERT_EQ(client.ask("reg 0x92"), i % 2 == 0 ? "0x92 0x03\n\n" : "0x92 0x0C\n\n");
  }
}

TEST(PoeCardControlPath, IsTheCommandsInAbsoluteForm) {
  const TemporaryDirectory directory;
  const std::filesystem::path path = directory.path() / "control";
  const std::filesystem::path relative = std::filesystem::relative(path);
  const CardResult result =
      runCard({"--control", relative.string(), "--", "sh", "-c", "echo $POE_CARD_CONTROL"});
  EXPECT_EQ(std::filesystem::path(result.out.substr(0, result.out.size() - 1)).lexically_normal(), path);
  EXPECT_EQ(result.out.front(), '/');
}

TEST(PoeCardControlPath, ThatIsAFileIsLeftAlone) {
  const TemporaryDirectory directory;
  const std::filesystem::path path = directory.path() / "precious";
  std::ofstream(path) << "data\n";
  expectExists(path);
  EXPECT_EQ(std::filesystem::file_size(path), 5U);
}

TEST(PoeCardControlPath, WorksWithoutAnAdapterToo) {
  const TemporaryDirectory directory;
  const std::string path = (directory.path() / "control").string();
  CardProcess card(directory.path(), {"--no-adapter", "--control", path, "--", "sh", "-c", "echo; sleep 60"});
  card.line();
  EXPECT_EQ(Client(path).ask("reg 0x43"), "0x43 0x41\n\n");
}

} // namespace
