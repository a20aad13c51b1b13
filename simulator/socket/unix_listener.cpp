#include "simulator/socket/unix_listener.h"

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

sockaddr_un addressOf(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::size_t most = sizeof address.sun_path - 1;
  if (path.size() > most) {
    throw ListenerError("the path of " + std::to_string(path.size()) +
                        " characters is too long; accepted are " + std::to_string(most));
  }
  std::memcpy(address.sun_path, path.c_str(), path.size());
  return address;
}

const sockaddr* generic(const sockaddr_un* address) {
  return reinterpret_cast<const sockaddr*>(address);
}

struct Attempt {
  FileDescriptor socket;
  int error; // 0: connected
};

Attempt tryToConnect(const std::string& path) {
  const sockaddr_un address = addressOf(path);
  FileDescriptor client(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  const int error = connect(client.get(), generic(&address), sizeof address) == 0 ? 0 : errno;
  return {std::move(client), error};
}

// Makes way for a new socket.
void removeStale(const std::string& path) {
  struct stat file {};
  if (lstat(path.c_str(), &file) != 0) {
    return;
  }
  if (!S_ISSOCK(file.st_mode) || tryToConnect(path).error != ECONNREFUSED) {
    throw ListenerError(path + " exists; accepted is a new path, or a socket without a listener");
  }
  unlink(path.c_str());
}

FileDescriptor listenAt(const std::string& path) {
  const sockaddr_un address = addressOf(path);
  removeStale(path);
  FileDescriptor listener(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  const int fd = listener.get();
  // The mode comes before bind(), so that the file never has any other.
  const bool isMade =
      fd >= 0 && fchmod(fd, S_IRUSR | S_IWUSR) == 0 && bind(fd, generic(&address), sizeof address) == 0;
  if (isMade && listen(fd, SOMAXCONN) == 0) {
    return listener;
  }
  const int error = errno;
  if (isMade) {
    unlink(path.c_str());
  }
  throw ListenerError("cannot make " + path + ": " + std::generic_category().message(error) +
                      "; accepted is a path in a directory that can be written");
}

} // namespace

UnixListener::UnixListener(const std::string& path)
    : m_path(std::filesystem::absolute(path).string()), m_socket(listenAt(m_path)) {}

UnixListener::~UnixListener() {
  unlink(m_path.c_str());
}

FileDescriptor connectTo(const std::string& path) {
  Attempt attempt = tryToConnect(path);
  return attempt.error == 0 ? std::move(attempt.socket) : FileDescriptor();
}

// The socket's mode keeps other users out, but not root's own helpers and not whoever is handed a descriptor.
bool isOfOurUser(int fd) {
  ucred peer{};
  socklen_t size = sizeof peer;
  return getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 &&
         (peer.uid == geteuid() || peer.uid == 0);
}
