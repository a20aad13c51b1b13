#include "platform/host/watchdog/service_manager.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "posix/file_descriptor.h"

namespace {

std::string environment(const char* name) {
  const char* const value = std::getenv(name);
  return value != nullptr ? value : "";
}

// 0 for a text that is no number.
std::uint64_t number(const std::string& text) {
  return std::strtoull(text.c_str(), nullptr, 10);
}

} // namespace

// The protocol is that of sd_watchdog_enabled(3) and sd_notify(3). libsystemd has both, but loads five more
// libraries, which take a third of the service's start.
ServiceManager::ServiceManager() : m_socket(environment("NOTIFY_SOCKET")) {
  const std::string process = environment("WATCHDOG_PID");
  const std::uint64_t limit = number(environment("WATCHDOG_USEC")); // microseconds
  const bool isMeant = process.empty() || number(process) == static_cast<std::uint64_t>(getpid());
  if (isMeant && limit != 0) {
    m_period = std::max<std::uint64_t>(limit / 2 / 1000, 1);
  }
}

void ServiceManager::keepAlive() const {
  sockaddr_un address{};
  if (m_period == 0 || m_socket.size() > sizeof address.sun_path) {
    return;
  }
  address.sun_family = AF_UNIX;
  const std::size_t length = m_socket.copy(address.sun_path, sizeof address.sun_path);
  if (address.sun_path[0] == '@') {
    address.sun_path[0] = '\0'; // not a file: an abstract name
  }
  const std::string message = "WATCHDOG=1";
  const FileDescriptor sender(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length);
  // A lost message is made good by the next one.
  sendto(sender.get(), message.data(), message.size(), MSG_NOSIGNAL | MSG_DONTWAIT,
         reinterpret_cast<const sockaddr*>(&address), size);
}
