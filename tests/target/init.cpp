// The first process of a test machine: makes the file systems and the loopback interface, runs the tests, or
// the program that the kernel's command line names with program=/bin/NAME, says how they ended and restarts
// the machine, which ends the emulator. Linked statically, so that it can still speak when a library is
// missing.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/reboot.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

namespace {

// What the kernel does not know on its command line is in the environment.
const char* tests() {
  const char* named = std::getenv("program");
  return named != nullptr ? named : "/bin/target_tests";
}

void report(const char* what) {
  std::printf("# init: %s: %s\n", what, std::strerror(errno));
}

void mountAt(const char* type, const char* directory) {
  mkdir(directory, 0755);
  if (mount(type, directory, type, 0, nullptr) != 0) {
    report(directory);
  }
}

void openConsole() {
  const int console = open("/dev/console", O_RDWR);
  for (int descriptor = 0; descriptor < 3; descriptor++) {
    dup2(console, descriptor);
  }
  setvbuf(stdout, nullptr, _IOLBF, 0);
}

void bringUpLoopback() {
  const int any = socket(AF_INET, SOCK_DGRAM, 0);
  ifreq request{};
  std::strcpy(request.ifr_name, "lo");
  if (ioctl(any, SIOCGIFFLAGS, &request) == 0) {
    request.ifr_flags = static_cast<short>(request.ifr_flags | IFF_UP);
    if (ioctl(any, SIOCSIFFLAGS, &request) == 0) {
      return;
    }
  }
  report("loopback");
}

// Returns the exit status, 255 when there is none.
int runTests() {
  const pid_t child = fork();
  if (child == 0) {
    setenv("PATH", "/bin", 1);
    execl(tests(), tests(), static_cast<char*>(nullptr));
    report(tests());
    _exit(255);
  }
  int status = 0;
  // Children whose parents have ended come here as well.
  for (pid_t ended = 0; ended != child;) {
    ended = wait(&status);
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 255;
}

} // namespace

int main() {
  mountAt("devtmpfs", "/dev");
  openConsole();
  mountAt("proc", "/proc");
  mountAt("sysfs", "/sys");
  mountAt("tmpfs", "/tmp");
  bringUpLoopback();
  std::printf("# tests ended with status %d\n", runTests());
  std::fflush(stdout);
  tcdrain(STDOUT_FILENO);
  reboot(RB_AUTOBOOT);
}
