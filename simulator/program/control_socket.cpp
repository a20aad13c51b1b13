#include "simulator/program/control_socket.h"

#include "simulator/program/descriptors.h"

#include <cerrno>
#include <utility>

#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr guint RETRY_MS = 100;

} // namespace

ControlSocket::ControlSocket(const std::string& path, ControlClient::Answer answer)
    : m_listener(path), m_answer(std::move(answer)),
      m_watch(g_unix_fd_add(m_listener.get(), G_IO_IN, onConnection, this)) {}

ControlSocket::~ControlSocket() {
  g_source_remove(m_watch);
}

gboolean ControlSocket::onConnection(gint /*fd*/, GIOCondition /*condition*/, gpointer self) {
  return static_cast<ControlSocket*>(self)->accept() ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
}

gboolean ControlSocket::onRetry(gpointer data) {
  auto* self = static_cast<ControlSocket*>(data);
  self->m_watch = g_unix_fd_add(self->m_listener.get(), G_IO_IN, onConnection, self);
  return G_SOURCE_REMOVE;
}

// False: a client waits for what the system lacks; the next try is in a while.
bool ControlSocket::accept() {
  const int fd = accept4(m_listener.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
  if (fd < 0 && (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM)) {
    m_watch = g_timeout_add(RETRY_MS, onRetry, this);
    return false;
  }
  if (fd < 0) {
    return true; // the client has gone again
  }
  if (m_clients.size() == MAX_CLIENTS || isOfTheLastDescriptors(fd) || !isOfOurUser(fd)) {
    close(fd);
    return true;
  }
  const auto answer = [this](const std::string& line) { return m_answer(line) + "\n"; };
  const auto place = m_clients.emplace(m_clients.end(), fd, answer);
  place->onOver([this, place] { m_clients.erase(place); });
  return true;
}
