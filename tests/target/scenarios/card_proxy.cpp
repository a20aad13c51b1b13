#include "tests/target/scenarios/card_proxy.h"

#include <cerrno>
#include <cstring>
#include <system_error>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

CardProxy::CardProxy(const std::string& path, SerialLine& serial)
    : m_serial(serial), m_listener(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  unlink(path.c_str());
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  if (bind(m_listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
      listen(m_listener, 1) != 0) {
    throw std::system_error(errno, std::generic_category(), path);
  }
}

CardProxy::~CardProxy() {
  close(m_client);
  close(m_listener);
}

void CardProxy::serve(int timeout) {
  pollfd ready{m_client >= 0 ? m_client : m_listener, POLLIN, 0};
  if (poll(&ready, 1, timeout) != 1) {
    return;
  }
  if (m_client < 0) {
    m_client = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
    return;
  }
  char block[4096];
  const ssize_t count = recv(m_client, block, sizeof block, 0);
  if (count <= 0) {
    close(m_client);
    m_client = -1;
    m_received.clear();
    return;
  }
  m_received.append(block, static_cast<std::size_t>(count));
  takeLines();
}

void CardProxy::takeLines() {
  for (std::size_t end = 0; (end = m_received.find('\n')) != std::string::npos;) {
    const std::string reply = m_serial.askCard("card " + m_received.substr(0, end));
    m_received.erase(0, end + 1);
    send(m_client, reply.data(), reply.size(), MSG_NOSIGNAL);
  }
}
