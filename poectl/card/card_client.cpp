#include "poectl/card/card_client.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

constexpr int REPLY_TIMEOUT = 2000; // ms
constexpr char REFUSED[] = "error: ";
constexpr char DONE[] = "ok\n";

int connectTo(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) {
    throw CardError("the control socket " + path + " has too long a name: at most " +
                    std::to_string(sizeof address.sun_path - 1) + " characters are accepted");
  }
  path.copy(address.sun_path, path.size());
  const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (descriptor < 0 || connect(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
    const std::string why = std::strerror(errno);
    close(descriptor);
    throw CardError("cannot reach the simulated card on " + path + ": " + why +
                    "; is poe_card running with --control?");
  }
  return descriptor;
}

} // namespace

std::string cardControlPath(const std::string& option) {
  if (!option.empty()) {
    return option;
  }
  const char* const variable = std::getenv("POE_CARD_CONTROL");
  if (variable != nullptr && *variable != '\0') {
    return variable;
  }
  return "/tmp/poe_card-" + std::to_string(getuid()) + ".socket";
}

CardClient::CardClient(const std::string& path) : m_path(path), m_socket(connectTo(path)) {}

CardClient::~CardClient() {
  close(m_socket);
}

std::string CardClient::ask(const std::string& words) {
  if (words.find('\n') != std::string::npos) {
    throw CardRefusal("a command of the card is one line: it cannot contain a line end");
  }
  const std::string line = words + "\n";
  if (send(m_socket, line.data(), line.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(line.size())) {
    throw CardError("the simulated card on " + m_path + " is gone: " + std::strerror(errno));
  }
  std::string reply; // ends with an empty line
  while (reply != "\n" && (reply.size() < 2 || reply.compare(reply.size() - 2, 2, "\n\n") != 0)) {
    pollfd readable{m_socket, POLLIN, 0};
    if (poll(&readable, 1, REPLY_TIMEOUT) != 1) {
      throw CardError("the simulated card on " + m_path + " does not reply");
    }
    char block[4096];
    const ssize_t length = recv(m_socket, block, sizeof block, 0);
    if (length <= 0) {
      throw CardError("the simulated card on " + m_path + " has closed the connection");
    }
    reply.append(block, static_cast<std::size_t>(length));
  }
  reply.pop_back();
  if (reply.compare(0, std::strlen(REFUSED), REFUSED) == 0) {
    throw CardRefusal("card: " + reply.substr(std::strlen(REFUSED), reply.size() - std::strlen(REFUSED) - 1));
  }
  return reply == DONE ? "" : reply;
}

// The reply is the address and the value.
unsigned CardClient::readRegister(unsigned address) {
  const std::string reply = ask("reg " + std::to_string(address));
  unsigned repeated = 0;
  unsigned value = 0;
  if (std::sscanf(reply.c_str(), "%x %x", &repeated, &value) != 2 || repeated != address) {
    throw CardError("the simulated card on " + m_path + " does not tell register " + std::to_string(address));
  }
  return value;
}
