#include "tests/support/process/console_connection.h"
#include "components/PoeDriver/poe_messages.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <iterator>

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>

namespace {

constexpr int MAX_WAIT = 10000; // milliseconds

struct LoopbackAddress {
  LoopbackAddress(int family, std::uint16_t port) {
    if (family == AF_INET6) {
      v6.sin6_family = AF_INET6;
      v6.sin6_addr = in6addr_loopback;
      v6.sin6_port = htons(port);
      size = sizeof(v6);
    } else {
      v4.sin_family = AF_INET;
      v4.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
      v4.sin_port = htons(port);
      size = sizeof(v4);
    }
  }

  union {
    sockaddr any;
    sockaddr_in v4;
    sockaddr_in6 v6{};
  };
  socklen_t size;
};

FileDescriptor boundSocket(int family, std::uint16_t port) {
  FileDescriptor bound(socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const int on = 1;
  if (family == AF_INET6) {
    setsockopt(bound.get(), IPPROTO_IPV6, IPV6_V6ONLY, &on, sizeof(on));
  }
  const LoopbackAddress address(family, port);
  if (!bound.isOpen() || bind(bound.get(), &address.any, address.size) != 0) {
    return FileDescriptor();
  }
  // Only now: the port was to be nobody else's, but the server under test may have it, too.
  setsockopt(bound.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
  return bound;
}

} // namespace

ReservedPort::ReservedPort() {
  for (int attempt = 0; attempt < 100; ++attempt) {
    if (reserve()) {
      return;
    }
  }
  ADD_FAILURE() << "no free port";
}

bool ReservedPort::reserve() {
  m_socket4 = boundSocket(AF_INET, 0);
  LoopbackAddress address(AF_INET, 0);
  if (getsockname(m_socket4.get(), &address.any, &address.size) != 0) {
    return false;
  }
  m_number = ntohs(address.v4.sin_port);
  m_socket6 = boundSocket(AF_INET6, m_number);
  return m_socket6.isOpen();
}

void ReservedPort::occupy(int family) const {
  EXPECT_EQ(listen(family == AF_INET6 ? m_socket6.get() : m_socket4.get(), 1), 0);
}

void ReservedPort::release(int family) {
  (family == AF_INET6 ? m_socket6 : m_socket4) = FileDescriptor();
}

ConsoleConnection::ConsoleConnection(std::uint16_t port) : ConsoleConnection(port, AF_INET) {}

ConsoleConnection::ConsoleConnection(std::uint16_t port, int family, int receiveBuffer)
    : m_socket(socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  const int on = 1;
  setsockopt(m_socket.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
  if (receiveBuffer != 0) {
    setsockopt(m_socket.get(), SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof(receiveBuffer));
  }
  const LoopbackAddress address(family, port);
  m_connected = connect(m_socket.get(), &address.any, address.size) == 0;
}

bool ConsoleConnection::reaches(const char* address, std::uint16_t port) {
  LoopbackAddress target(AF_INET, port);
  EXPECT_EQ(inet_pton(AF_INET, address, &target.v4.sin_addr), 1);
  const FileDescriptor client(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  return connect(client.get(), &target.any, target.size) == 0;
}

void ConsoleConnection::send(const std::string& bytes) const {
  std::size_t sent = 0;
  while (sent < bytes.size()) {
    const ssize_t count = ::send(m_socket.get(), bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    ASSERT_GT(count, 0);
    sent += static_cast<std::size_t>(count);
  }
}

bool ConsoleConnection::awaitInput() const {
  pollfd descriptor{m_socket.get(), POLLIN, 0};
  const int ready = poll(&descriptor, 1, MAX_WAIT);
  EXPECT_EQ(ready, 1) << "nothing came";
  return ready == 1;
}

std::string ConsoleConnection::receive(std::size_t count) const {
  std::string bytes(count, '\0');
  std::size_t received = 0;
  while (received < count && awaitInput()) {
    const ssize_t more = recv(m_socket.get(), &bytes[received], count - received, 0);
    if (more <= 0) {
      break;
    }
    received += static_cast<std::size_t>(more);
  }
  bytes.resize(received);
  return bytes;
}

std::string ConsoleConnection::receiveToEnd() const {
  std::string bytes;
  std::array<char, 65536> chunk;
  while (awaitInput()) {
    const ssize_t count = recv(m_socket.get(), chunk.data(), chunk.size(), 0);
    if (count < 0) {
      return bytes + (errno == ECONNRESET ? "(reset)" : "(error)");
    }
    if (count == 0) {
      return bytes;
    }
    bytes.append(chunk.data(), static_cast<std::size_t>(count));
  }
  return bytes + "(timed out)";
}

std::string ConsoleConnection::receiveReply() const {
  const std::string prompt = "> ";
  std::string bytes;
  std::array<char, 4096> chunk;
  while (awaitInput()) {
    const ssize_t count = recv(m_socket.get(), chunk.data(), chunk.size(), MSG_PEEK);
    if (count <= 0) {
      break;
    }
    const std::size_t before = bytes.size();
    bytes.append(chunk.data(), static_cast<std::size_t>(count));
    const std::size_t end = bytes.find(prompt, before == 0 ? 0 : before - 1);
    // What comes after the prompt stays for the next call.
    const std::size_t taken = (end == std::string::npos ? bytes.size() : end + prompt.size()) - before;
    recv(m_socket.get(), chunk.data(), taken, 0);
    if (end != std::string::npos) {
      return bytes.substr(0, end);
    }
  }
  return bytes + "(no prompt)";
}

std::string ConsoleConnection::ask(const std::string& line) const {
  send(line + "\n");
  return receiveReply();
}

void ConsoleConnection::finish() const {
  EXPECT_EQ(shutdown(m_socket.get(), SHUT_WR), 0);
}

void ConsoleConnection::close(bool reset) {
  const linger now{1, 0};
  if (reset) {
    setsockopt(m_socket.get(), SOL_SOCKET, SO_LINGER, &now, sizeof(now));
  }
  const FileDescriptor closed(std::move(m_socket));
}

std::string askConsole(const std::string& line) {
  const ConsoleConnection console(CONSOLE_PORT);
  EXPECT_TRUE(console.isConnected());
  EXPECT_EQ(console.receiveReply(), ""); // the prompt
  return console.ask(line);
}

std::size_t openDescriptors() {
  const std::filesystem::directory_iterator entries("/proc/self/fd");
  // The iterator itself has one open.
  return static_cast<std::size_t>(std::distance(begin(entries), end(entries))) - 1;
}
