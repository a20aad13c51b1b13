#include "poectl/service/console_port.h"

#include "components/PoeDriver/poe_messages.h"

#include <arpa/inet.h>
#include <cerrno>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

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
