// own_namespaces COMMAND...: runs a command with message queues and a loopback of its own, so that several
// services can run at once.
//
// The exit status is that of the command; 1, with one line on standard error, when that cannot be, and 2 when
// there is no command.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <net/if.h>
#include <sched.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>

namespace {

void check(bool ok, const char* what) {
  if (!ok) {
    throw std::system_error(errno, std::generic_category(), what);
  }
}

void writeFile(const char* path, const std::string& text) {
  const int file = open(path, O_WRONLY | O_CLOEXEC);
  check(file >= 0, path);
  check(write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size()), path);
  close(file);
}

// Root may separate them at once; anybody else needs a user namespace, in which the user stays who he is.
void separate() {
  constexpr int QUEUES_AND_PORTS = CLONE_NEWIPC | CLONE_NEWNET;
  const std::string user = std::to_string(getuid());
  const std::string group = std::to_string(getgid());
  if (unshare(QUEUES_AND_PORTS) == 0) {
    return;
  }
  check(unshare(QUEUES_AND_PORTS | CLONE_NEWUSER) == 0, "no namespaces");
  writeFile("/proc/self/uid_map", user + " " + user + " 1");
  writeFile("/proc/self/setgroups", "deny");
  writeFile("/proc/self/gid_map", group + " " + group + " 1");
}

void startLoopback() {
  const int any = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  check(any >= 0, "socket");
  ifreq loopback{};
  std::strcpy(loopback.ifr_name, "lo");
  check(ioctl(any, SIOCGIFFLAGS, &loopback) == 0, "flags of lo");
  loopback.ifr_flags |= IFF_UP;
  check(ioctl(any, SIOCSIFFLAGS, &loopback) == 0, "lo up");
  close(any);
}

} // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr,
                 "own_namespaces: there is no command; accepted is own_namespaces COMMAND [ARG]...\n");
    return 2;
  }
  try {
    separate();
    startLoopback();
    execvp(argv[1], argv + 1);
    throw std::system_error(errno, std::generic_category(), argv[1]);
  } catch (const std::system_error& error) {
    std::fprintf(stderr, "own_namespaces: %s\n", error.what());
    return 1;
  }
}
