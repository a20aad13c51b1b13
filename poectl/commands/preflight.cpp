#include "poectl/commands/preflight.h"

#include "components/PoeDriver/poe_messages.h"
#include "poectl/service/queue.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

// Whether the console's port cannot be bound because somebody listens on it.
bool consolePortIsTaken() {
  const int probe = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const int on = 1;
  setsockopt(probe, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on); // as the console does
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(CONSOLE_PORT);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const int result = bind(probe, reinterpret_cast<const sockaddr*>(&address), sizeof address);
  const bool taken = result != 0 && errno == EADDRINUSE;
  close(probe);
  return taken;
}

} // namespace

int preflight() {
  if (consolePortIsTaken()) {
    std::fprintf(stderr, "port %u on 127.0.0.1 is taken: is another service running? End it first\n",
                 CONSOLE_PORT);
    return 1;
  }
  for (const char* name : {QUEUE_TO_POE, QUEUE_TO_MAIN}) {
    if (queueExists(name)) {
      std::fprintf(stderr,
                   "queue %s exists: another service is running or was killed; when none is, 'poectl clean' "
                   "removes it\n",
                   name);
      return 1;
    }
  }
  return 0;
}

int clean() {
  for (const char* name : {QUEUE_TO_POE, QUEUE_TO_MAIN}) {
    if (removeQueue(name)) {
      std::printf("removed queue %s\n", name);
    }
  }
  return 0;
}
