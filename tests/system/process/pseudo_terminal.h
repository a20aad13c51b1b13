// Whether there are pseudo-terminals, which tests on a terminal need and a chroot without devpts lacks.
#pragma once

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <unistd.h>

// Why no pseudo-terminal can be had; empty when one can.
inline std::string pseudoTerminalRefusal() {
  const int master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  int terminal = -1;
  if (master >= 0 && grantpt(master) == 0 && unlockpt(master) == 0) {
    const char* path = ptsname(master);
    terminal = path == nullptr ? -1 : open(path, O_RDWR | O_NOCTTY | O_CLOEXEC);
  }
  const std::string reason = std::strerror(errno);
  close(terminal);
  close(master);
  return terminal >= 0 ? "" : "no pseudo-terminals (" + reason + "): mount devpts at /dev/pts";
}
