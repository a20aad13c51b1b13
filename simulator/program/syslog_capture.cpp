// Preloaded into the command of poe_card --log: what the command gives to
// syslog(3) is appended to the file that POE_CARD_SYSLOG names, one line
// "<PRIORITY> text" a call, in one write, after the time of day if
// POE_CARD_LOG_TIMES is set. A line that the file does not take is
// reported to the datagram socket that POE_CARD_LOG_LOSS names: the error's number.
//
// Goes to the kernel directly, opens the file anew for each line and needs no C++
// library, so that it works in any thread of any program, also when something else is
// preloaded or built in, and after a program has closed all its descriptors.
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

namespace {

constexpr std::size_t USUAL_LINE = 1024;
constexpr std::size_t PRIORITY = sizeof "<0> " - 1;
constexpr std::size_t TIME = sizeof "2024-05-06T07:08:09.123Z " - 1;

char logFile[PATH_MAX]; // set before the program runs, constant from then on
bool writesTimes;       // the same
sockaddr_un lossSocket; // the same; its path is empty when there is none

// Puts the value of a variable into a place of `size` bytes, or nothing when it is longer.
void remember(const char* name, char* place, std::size_t size) {
  const char* value = std::getenv(name);
  if (value != nullptr && std::strlen(value) < size) {
    std::memcpy(place, value, std::strlen(value) + 1);
  }
}

__attribute__((constructor)) void rememberPaths() {
  remember("POE_CARD_SYSLOG", logFile, sizeof logFile);
  writesTimes = std::getenv("POE_CARD_LOG_TIMES") != nullptr;
  lossSocket.sun_family = AF_UNIX;
  remember("POE_CARD_LOG_LOSS", lossSocket.sun_path, sizeof lossSocket.sun_path);
}

void reportLoss(int error) {
  const long fd = syscall(SYS_socket, AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (fd >= 0) {
    syscall(SYS_sendto, fd, &error, sizeof error, MSG_DONTWAIT | MSG_NOSIGNAL, &lossSocket,
            sizeof lossSocket);
    syscall(SYS_close, fd);
  }
}

void append(const char* line, std::size_t length) {
  const long fd = syscall(SYS_openat, AT_FDCWD, logFile, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
  if (fd < 0) {
    reportLoss(errno);
    return;
  }
  const long written = syscall(SYS_write, fd, line, length);
  if (written != static_cast<long>(length)) {
    reportLoss(written < 0 ? errno : ENOSPC);
  }
  syscall(SYS_close, fd);
}

// The time of day in UTC, if it is wanted, and the priority. Returns the length.
std::size_t writeHead(char* line, int priority) {
  std::size_t length = 0;
  if (writesTimes) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm parts{};
    gmtime_r(&now.tv_sec, &parts);
    char time[TIME + 1];
    length = std::strftime(time, sizeof time, "%Y-%m-%dT%H:%M:%S", &parts);
    std::snprintf(time + length, sizeof time - length, ".%03uZ ",
                  static_cast<unsigned>(now.tv_nsec / 1000000) % 1000);
    length = std::strlen(time);
    std::memcpy(line, time, length);
  }
  const char head[PRIORITY] = {'<', static_cast<char>('0' + LOG_PRI(priority)), '>', ' '};
  std::memcpy(line + length, head, PRIORITY);
  return length + PRIORITY;
}

__attribute__((format(printf, 2, 0))) void capture(int priority, const char* format, va_list arguments) {
  const int callersErrno = errno; // for %m
  if ((setlogmask(0) & LOG_MASK(LOG_PRI(priority))) == 0) {
    return;
  }
  va_list again;
  va_copy(again, arguments);
  char usual[USUAL_LINE];
  char* line = usual;
  const std::size_t head = writeHead(usual, priority);
  errno = callersErrno;
  const int formatted = std::vsnprintf(usual + head, sizeof usual - head - 1, format, arguments);
  if (formatted >= 0) {
    auto length = head + static_cast<std::size_t>(formatted);
    if (length + 2 > sizeof usual) {
      line = static_cast<char*>(std::malloc(length + 2));
      errno = callersErrno;
      if (line != nullptr) {
        std::memcpy(line, usual, head);
        std::vsnprintf(line + head, length + 1 - head, format, again);
      }
    }
    if (line != nullptr) {
      if (line[length - 1] != '\n') {
        line[length++] = '\n';
      }
      append(line, length);
    }
    if (line != usual) {
      std::free(line);
    }
  }
  va_end(again);
  errno = callersErrno;
}

} // namespace

// The C library's functions, and those that a fortified program calls instead.
extern "C" {

void fortifiedVsyslog(int priority, int flag, const char* format, va_list arguments) asm("__vsyslog_chk")
    __attribute__((format(printf, 3, 0)));
void fortifiedSyslog(int priority, int flag, const char* format, ...) asm("__syslog_chk")
    __attribute__((format(printf, 3, 4)));

__attribute__((format(printf, 2, 0))) void vsyslog(int priority, const char* format, va_list arguments) {
  capture(priority, format, arguments);
}

void syslog(int priority, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  capture(priority, format, arguments);
  va_end(arguments);
}

void fortifiedVsyslog(int priority, int /*flag*/, const char* format, va_list arguments) {
  capture(priority, format, arguments);
}

void fortifiedSyslog(int priority, int /*flag*/, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  capture(priority, format, arguments);
  va_end(arguments);
}
}
