#include "simulator/virtio/virtio_server.h"

#include "simulator/card/simulated_card.h"

#include <cerrno>
#include <system_error>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

VirtioServer::VirtioServer(const std::string& path, SimulatedCard& card, VhostUserSession::Report report)
    : m_stop(eventfd(0, EFD_CLOEXEC)), m_card(card), m_report(std::move(report)) {
  if (m_stop.get() < 0) {
    throw std::system_error(errno, std::generic_category(), "eventfd");
  }
  serve(connectTo(path));
  if (!m_session) {
    m_listener.emplace(path);
  }
  m_thread = std::thread([this] { run(); });
}

VirtioServer::~VirtioServer() {
  m_card.endWaits();
  eventfd_write(m_stop.get(), 1);
  m_thread.join();
}

void VirtioServer::run() {
  while (true) {
    // poll() passes over a descriptor of -1.
    pollfd ready[] = {{m_stop.get(), POLLIN, 0},
                      {m_session || !m_listener ? -1 : m_listener->get(), POLLIN, 0},
                      {m_session ? m_session->socket() : -1, POLLIN, 0},
                      {m_session ? m_session->kick() : -1, POLLIN, 0}};
    if (poll(ready, std::size(ready), -1) < 0 && errno != EINTR) {
      m_report(std::string("the card is silent: ") + std::generic_category().message(errno));
      return;
    }
    if (ready[0].revents != 0) {
      return;
    }
    if (ready[3].revents != 0) {
      m_session->serveRequests();
    }
    if (ready[2].revents != 0 && !m_session->serveMessage()) {
      m_session.reset();
    }
    if (ready[1].revents != 0) {
      accept();
    }
  }
}

void VirtioServer::accept() {
  serve(FileDescriptor(accept4(m_listener->get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK)));
}

void VirtioServer::serve(FileDescriptor connection) {
  if (connection.get() >= 0 && isOfOurUser(connection.get())) {
    m_session = std::make_unique<VhostUserSession>(std::move(connection), m_card, m_report);
  }
}
