#include "simulator/program/control_socket.h"

#include "simulator/program/descriptors.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

constexpr guint RETRY_MS = 100;

sockaddr_un addressOf(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::size_t most = sizeof address.sun_path - 1;
  if (path.size() > most) {
    throw ControlSocketError("the path of " + std::to_string(path.size()) +
                             " characters is too long; accepted are " + std::to_string(most));
  }
  std::memcpy(address.sun_path, path.c_str(), path.size());
  return address;
}

const sockaddr* generic(const sockaddr_un* address) {
  return reinterpret_cast<const sockaddr*>(address);
}

bool somebodyListens(const sockaddr_un& address) {
  const FileDescriptor probe(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  return connect(probe.get(), generic(&address), sizeof address) == 0 || errno != ECONNREFUSED;
}

// Makes way for a new socket.
void removeStale(const std::string& path, const sockaddr_un& address) {
  struct stat file {};
  if (lstat(path.c_str(), &file) != 0) {
    return;
  }
  if (!S_ISSOCK(file.st_mode) || somebodyListens(address)) {
    throw ControlSocketError(path + " exists; accepted is a new path, or a socket without a listener");
  }
  unlink(path.c_str());
}

} // namespace

ControlSocket::ControlSocket(const std::string& path, ControlClient::Answer answer)
    : m_path(std::filesystem::absolute(path).string()), m_answer(std::move(answer)),
      m_fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
  const sockaddr_un address = addressOf(m_path);
  removeStale(m_path, address);
  // Before bind(), so that the file never has any other mode.
  if (!m_fd.isOpen() || fchmod(m_fd.get(), S_IRUSR | S_IWUSR) != 0 ||
      bind(m_fd.get(), generic(&address), sizeof address) != 0 || listen(m_fd.get(), SOMAXCONN) != 0) {
    throw ControlSocketError("cannot make " + m_path + ": " + std::generic_category().message(errno) +
                             "; accepted is a path in a directory that can be written");
  }
  m_watch = g_unix_fd_add(m_fd.get(), G_IO_IN, onConnection, this);
}

ControlSocket::~ControlSocket() {
  g_source_remove(m_watch);
  unlink(m_path.c_str());
}

gboolean ControlSocket::onConnection(gint /*fd*/, GIOCondition /*condition*/, gpointer self) {
  return static_cast<ControlSocket*>(self)->accept() ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
}

gboolean ControlSocket::onRetry(gpointer data) {
  auto* self = static_cast<ControlSocket*>(data);
  self->m_watch = g_unix_fd_add(self->m_fd.get(), G_IO_IN, onConnection, self);
  return G_SOURCE_REMOVE;
}

namespace {

// The socket's mode keeps other users out, but not root's own helpers and not whoever is handed a descriptor.
bool isOfOurUser(int fd) {
  ucred peer{};
  socklen_t size = sizeof peer;
  return getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 &&
         (peer.uid == geteuid() || peer.uid == 0);
}

} // namespace

// False: a client waits for what the system lacks; the next try is in a while.
bool ControlSocket::accept() {
  const int fd = accept4(m_fd.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
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
