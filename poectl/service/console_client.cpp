#include "poectl/service/console_client.h"

#include "components/PoeDriver/poe_messages.h"

#include "poectl/service/console_vocabulary.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

const std::string PROMPT = "> ";

class Connection {
public:
  Connection() : m_socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(CONSOLE_PORT);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
      const std::string why = std::strerror(errno);
      close(m_socket);
      throw ConsoleError("cannot reach the console on 127.0.0.1 port " + std::to_string(CONSOLE_PORT) + ": " +
                         why + "; is the service running?");
    }
  }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  ~Connection() { close(m_socket); }

  void write(const std::string& text) {
    if (send(m_socket, text.data(), text.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(text.size())) {
      throw ConsoleError(std::string("cannot send to the console: ") + std::strerror(errno));
    }
  }

  // Everything until the console closes.
  std::string readToEnd(std::chrono::milliseconds patience) {
    std::string text;
    char block[4096];
    for (;;) {
      pollfd readable{m_socket, POLLIN, 0};
      if (poll(&readable, 1, static_cast<int>(patience.count())) != 1) {
        throw ConsoleError("the console does not reply");
      }
      const ssize_t length = recv(m_socket, block, sizeof block, 0);
      if (length < 0) {
        throw ConsoleError(std::string("the console has broken the connection: ") + std::strerror(errno));
      }
      if (length == 0) {
        return text;
      }
      text.append(block, static_cast<std::size_t>(length));
    }
  }

private:
  int m_socket;
};

bool startsWith(const std::string& text, const std::string& start) {
  return text.compare(0, start.size(), start) == 0;
}

bool endsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

} // namespace

// With "quit" behind the command the reply ends where the connection does, so a reply may contain anything.
std::string askConsole(const std::string& command, std::chrono::milliseconds patience) {
  Connection console;
  console.write(command + "\nquit\n");
  std::string text = console.readToEnd(patience);
  if (!startsWith(text, PROMPT)) {
    text.resize(std::min(text.size(), text.find('\n')));
    throw ConsoleError("the console refuses: " + text);
  }
  text.erase(0, PROMPT.size());
  if (!endsWith(text, PROMPT)) {
    throw ConsoleError("the console has broken off its reply");
  }
  text.resize(text.size() - PROMPT.size());
  return text;
}

std::string consoleLine(const std::string& words) {
  if (words.find('\n') != std::string::npos) {
    throw ConsoleInputError("a console command is one line: it cannot contain a line end");
  }
  const std::size_t start = words.find_first_not_of(" \t");
  if (start == std::string::npos) {
    return words;
  }
  const std::string first = words.substr(start, words.find_first_of(" \t", start) - start);
  const bool isBareCommand =
      first != "help" && std::find(CONSOLE_ENGINE_COMMANDS.begin(), CONSOLE_ENGINE_COMMANDS.end(), first) !=
                             CONSOLE_ENGINE_COMMANDS.end();
  return isBareCommand ? std::string(CONSOLE_ENGINE) + " " + words : words;
}
