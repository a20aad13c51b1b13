#include "tests/fuzz/client_end.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <sys/socket.h>

ClientEnd::ClientEnd(std::function<void()> serve) : m_serve(std::move(serve)) {
  int ends[2] = {-1, -1};
  const int leastBuffer = 1; // byte; the system gives the least it has
  EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends), 0);
  EXPECT_EQ(setsockopt(ends[1], SOL_SOCKET, SO_SNDBUF, &leastBuffer, sizeof leastBuffer), 0);
  m_end = FileDescriptor(ends[0]);
  m_serversEnd = FileDescriptor(ends[1]);
}

void ClientEnd::send(const std::string& piece) {
  bool isClosed = false;
  for (std::size_t sent = 0; sent < piece.size() && !isClosed;) {
    const ssize_t count = ::send(m_end.get(), piece.data() + sent, piece.size() - sent, MSG_NOSIGNAL);
    sent += count > 0 ? static_cast<std::size_t>(count) : 0;
    isClosed = count < 0 && errno != EAGAIN;
    m_serve();
    if (count < 0) {
      receive();
    }
  }
}

bool ClientEnd::receive() {
  const std::size_t before = m_received.size();
  char block[4096];
  ssize_t count = 0;
  while ((count = recv(m_end.get(), block, sizeof block, 0)) > 0) {
    m_received.append(block, static_cast<std::size_t>(count));
  }
  m_isOver = m_isOver || count == 0;
  return m_received.size() > before;
}

void ClientEnd::receiveAll() {
  do {
    m_serve();
  } while (receive());
}

std::string ClientEnd::finish() {
  shutdown(m_end.get(), SHUT_WR);
  receiveAll();
  EXPECT_TRUE(m_isOver) << "the connection stays open";
  return m_received;
}
