#include "tests/support/process/system_log.h"

#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

constexpr char LOG_SOCKET[] = "/dev/log";
constexpr unsigned long PRIORITY_BITS = 7; // above them stands the facility

// Of "<14>Jan  1 00:00:05 poe_service: text" the time.
std::string timeOf(const std::string& datagram) {
  const std::size_t head = datagram.find('>');
  return head == std::string::npos ? "" : datagram.substr(head + 1, std::strlen("Jan  1 00:00:05"));
}

// The same datagram as "<6> text".
std::string lineOf(const std::string& datagram) {
  const std::size_t head = datagram.find('>');
  const std::string program = " poe_service: ";
  const std::size_t name = datagram.find(program);
  if (datagram.compare(0, 1, "<") != 0 || head == std::string::npos || name == std::string::npos) {
    return datagram + "\n";
  }
  const unsigned long priority = std::stoul(datagram.substr(1, head - 1)) & PRIORITY_BITS;
  std::string text = datagram.substr(name + program.size());
  if (text.empty() || text.back() != '\n') {
    text += '\n';
  }
  return "<" + std::to_string(priority) + "> " + text;
}

} // namespace

SystemLog::SystemLog() : m_socket(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strcpy(address.sun_path, LOG_SOCKET);
  EXPECT_EQ(bind(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0)
      << std::strerror(errno);
  EXPECT_EQ(chmod(LOG_SOCKET, 0666), 0) << std::strerror(errno); // whoever writes
}

SystemLog::~SystemLog() {
  close(m_socket);
  unlink(LOG_SOCKET);
}

std::string SystemLog::receive(int timeout) {
  pollfd readable{m_socket, POLLIN, 0};
  if (poll(&readable, 1, timeout) != 1) {
    return "";
  }
  char datagram[8192];
  const ssize_t length = recv(m_socket, datagram, sizeof datagram, 0);
  if (length <= 0) {
    return "";
  }
  const std::string text(datagram, static_cast<std::size_t>(length));
  m_timeOfLastLine = timeOf(text);
  return lineOf(text);
}

std::string SystemLog::take() {
  std::string text;
  for (std::string line; !(line = receive(0)).empty();) {
    text += line;
  }
  return text;
}

std::string SystemLog::takeUntil(const std::string& text, std::chrono::seconds timeout) {
  const auto end = std::chrono::steady_clock::now() + timeout;
  std::string taken;
  while (taken.find(text) == std::string::npos && std::chrono::steady_clock::now() < end) {
    taken += receive(100);
  }
  return taken;
}
