// What a client of the console sends, cut into pieces of any size: the server's side of the connection, over
// a pair of sockets with little room. The client must get what a simple reading of the same bytes says,
// however they were cut.
#include "platform/host/console/console_client.h"
#include "tests/fuzz/client_end.h"
#include "tests/fuzz/fuzz_target.h"
#include "tests/support/doubles/talker.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <poll.h>

namespace {

constexpr std::size_t REPLY_SIZE = 64; // the handlers' buffer

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

// The server's end, worked as the server's loop does it.
class Server {
public:
  explicit Server(FileDescriptor end) : m_client(std::make_unique<Zorvan::ConsoleClient>(std::move(end))) {}

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

private:
  std::unique_ptr<Zorvan::ConsoleClient> m_client;
  std::vector<char> m_buffer = std::vector<char>(REPLY_SIZE);
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
  std::optional<Server> server;
  ClientEnd client([&] { server->serve(); });
  server.emplace(client.takeServersEnd());
  std::string sent;
  while (data.remaining_bytes() > 0) {
    const std::string piece = takePiece(data);
    client.send(piece);
    sent += piece;
    if (data.ConsumeBool()) {
      client.receive();
    }
  }
  EXPECT_EQ(client.finish(), conversation(sent));
  return 0;
}
