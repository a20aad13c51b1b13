#include "platform/host/console/console_listener.h"

#include <cerrno>
#include <cstring>

#include <netinet/in.h>
#include <sys/socket.h>
#include <syslog.h>

namespace Zorvan {

namespace {

bool bindLoopback4(int socket, std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
}

bool bindLoopback6(int socket, std::uint16_t port) {
  const int on = 1;
  sockaddr_in6 address{};
  address.sin6_family = AF_INET6;
  address.sin6_port = htons(port);
  address.sin6_addr = in6addr_loopback;
  return setsockopt(socket, IPPROTO_IPV6, IPV6_V6ONLY, &on, sizeof(on)) == 0 &&
         bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
}

// False with errno set when it does not work out.
bool prepare(int socket, int family, std::uint16_t port) {
  // Connections of an earlier run that are still ebbing away do not keep the port from us.
  const int on = 1;
  return setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on)) == 0 &&
         (family == AF_INET6 ? bindLoopback6(socket, port) : bindLoopback4(socket, port)) &&
         listen(socket, SOMAXCONN) == 0;
}

bool isMissing(int family, int error) {
  return family == AF_INET6 && (error == EAFNOSUPPORT || error == EADDRNOTAVAIL);
}

} // namespace

FileDescriptor listenOnLoopback(int family, std::uint16_t port) {
  FileDescriptor listener(socket(family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  if (listener.isOpen() && prepare(listener.get(), family, port)) {
    return listener;
  }
  const int error = errno;
  if (!isMissing(family, error)) {
    syslog(LOG_ERR, "debug console: cannot listen on %s port %u: %s\n",
           family == AF_INET6 ? "[::1]" : "127.0.0.1", static_cast<unsigned>(port), std::strerror(error));
  }
  return FileDescriptor();
}

} // namespace Zorvan
