// What a client of the console sends, cut into pieces of any size: the server's side of the connection, over
// a pair of sockets with little room. The client must get what a simple reading of the same bytes says,
// however they were cut.
#include "platform/host/console/console_client.h"
#include "tests/fuzz/fuzz_target.h"
#include "tests/support/doubles/talker.h"

#include <algorithm>
#include <cerrno>
#include <memory>
#include <poll.h>
#include <sys/socket.h>
#include <utility>

namespace {

constexpr std::size_t REPLY_SIZE = 64; // the handlers' buffer
constexpr int SOCKET_BUFFER = 1;       // bytes; the system gives the least it has

// The words of a line, each up to its first NUL as a handler sees it.
std::vector<std::string> wordsOf(const std::string& line) {
  std::vector<std::string> words;
  for (std::size_t end = 0, begin = 0; (begin = line.find_first_not_of(" \t", end)) != std::string::npos;) {
    end = std::min(line.find_first_of(" \t", begin), line.size());
    words.push_back(line.substr(begin, end - begin));
  }
  return words;
}

std::string replyTo(const std::vector<std::string>& words) {
  if (words[0] != "Echo") {
    return (words[0] == "help" ? "" : "No such object: " + words[0] + "\n") + "Echo\n";
  }
  std::string reply;
  for (auto word = words.begin() + 1; word != words.end(); ++word) {
    reply += "[" + word->substr(0, word->find('\0')) + "]"; // a handler gets C strings
  }
  return (reply + "\n").substr(0, REPLY_SIZE);
}

// What a client sends without the bytes of the telnet protocol.
std::string withoutTelnet(const std::string& sent) {
  std::string text;
  for (std::size_t at = 0; at < sent.size(); at++) {
    if (sent[at] != '\xFF') {
      text += sent[at];
      continue;
    }
    at++;
    const int command = at < sent.size() ? static_cast<unsigned char>(sent[at]) : 0;
    if (command == 0xFF) {
      text += '\xFF';
    } else if (command >= 0xFB) {
      at++;
    } else if (command == 0xFA) {
      for (at++; at < sent.size() && sent.compare(at, 2, "\xFF\xF0") != 0; at++) {
        at += sent[at] == '\xFF' ? 1U : 0U;
      }
      at++;
    }
  }
  return text;
}

// Everything that a client must get for all that it sends.
std::string conversation(const std::string& bytes) {
  const std::string sent = withoutTelnet(bytes);
  std::string text = "> ";
  std::size_t begin = 0;
  for (std::size_t end = 0; (end = sent.find('\n', begin)) != std::string::npos; begin = end + 1) {
    const bool isWindows = end > begin && sent[end - 1] == '\r';
    const std::string line = sent.substr(begin, end - begin - (isWindows ? 1 : 0));
    const std::vector<std::string> words = wordsOf(line);
    if (line.size() > 1024) {
      text += "Line too long (at most 1024 bytes)\n";
    } else if (!words.empty() && words[0] == "quit") {
      return text;
    } else if (!words.empty()) {
      text += replyTo(words);
    }
    text += "> ";
  }
  return text;
}

// Both ends of a connection; the server's end is worked as the server's loop does it.
class Connection {
public:
  Connection() : Connection(connectedPair()) {}

  void send(const std::string& piece) {
    for (std::size_t sent = 0; sent < piece.size() && !m_isBroken;) {
      const ssize_t count = ::send(m_own.get(), piece.data() + sent, piece.size() - sent, MSG_NOSIGNAL);
      sent += count > 0 ? static_cast<std::size_t>(count) : 0;
      m_isBroken = count < 0 && errno != EAGAIN;
      serve();
      if (count < 0) {
        receive();
      }
    }
  }

  void receive() {
    char block[4096];
    for (ssize_t count = 0; (count = recv(m_own.get(), block, sizeof block, 0)) != 0;) {
      if (count < 0) {
        return;
      }
      m_received.append(block, static_cast<std::size_t>(count));
    }
    m_isEnded = true;
  }

  // Sends no more and takes the rest.
  std::string finish() {
    shutdown(m_own.get(), SHUT_WR);
    while (!m_isEnded) {
      serve();
      receive();
    }
    serve();
    EXPECT_TRUE(m_client == nullptr) << "the connection stays open";
    return m_received;
  }

private:
  using Pair = std::pair<FileDescriptor, FileDescriptor>;

  explicit Connection(Pair pair)
      : m_own(std::move(pair.first)),
        m_client(std::make_unique<Zorvan::ConsoleClient>(std::move(pair.second))) {}

  static Pair connectedPair() {
    int ends[2] = {-1, -1};
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends), 0);
    EXPECT_EQ(setsockopt(ends[1], SOL_SOCKET, SO_SNDBUF, &SOCKET_BUFFER, sizeof SOCKET_BUFFER), 0);
    return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
  }

  // Until the server would wait.
  void serve() {
    while (m_client != nullptr) {
      pollfd state{m_client->socket(), m_client->events(), 0};
      poll(&state, 1, 0);
      if (state.revents == 0 && !m_client->isReady()) {
        return;
      }
      m_client->serve(state.revents, m_buffer);
      if (m_client->isGone()) {
        m_client.reset();
      }
    }
  }

  FileDescriptor m_own;
  std::unique_ptr<Zorvan::ConsoleClient> m_client;
  std::vector<char> m_buffer = std::vector<char>(REPLY_SIZE);
  std::string m_received;
  bool m_isEnded = false;
  bool m_isBroken = false;
};

// A piece of the stream: any bytes, or what is rare at random.
std::string takePiece(FuzzedDataProvider& data) {
  switch (data.ConsumeIntegralInRange(0, 5)) {
  case 0:
    return "Echo ";
  case 1: // about as long as a line may be
    return std::string(data.ConsumeIntegralInRange<std::size_t>(1015, 1030), 'x');
  case 2:
    return std::string(data.ConsumeIntegralInRange<std::size_t>(1, 5000), 'y');
  case 3:
    return "\r\n";
  default:
    return data.ConsumeRandomLengthString(100);
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzedDataProvider data(bytes, size);
  const Echo echo("Echo");
  Connection connection;
  std::string sent;
  while (data.remaining_bytes() > 0) {
    const std::string piece = takePiece(data);
    connection.send(piece);
    sent += piece;
    if (data.ConsumeBool()) {
      connection.receive();
    }
  }
  EXPECT_EQ(connection.finish(), conversation(sent));
  return 0;
}
