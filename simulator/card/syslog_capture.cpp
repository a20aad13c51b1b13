// Preloaded into the command of poe_card --log: what the command gives to
// syslog(3) is appended to the file that POE_CARD_SYSLOG names, one line
// "<PRIORITY> text" a call, in one write.
//
// Goes to the kernel directly, opens the file anew for each line and needs no C++
// library, so that it works in any thread of any program, whatever else is
// preloaded or built in, and after a program has closed all its descriptors.
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <sys/syscall.h>
#include <syslog.h>
#include <unistd.h>

namespace {

constexpr std::size_t USUAL_LINE = 1024;
constexpr std::size_t PREFIX = sizeof "<0> " - 1;

char logFile[PATH_MAX]; // set before the program runs, constant from then on

__attribute__((constructor)) void rememberLogFile() {
  const char* file = std::getenv("POE_CARD_SYSLOG");
  if (file != nullptr && std::strlen(file) < sizeof logFile) {
    std::memcpy(logFile, file, std::strlen(file) + 1);
  }
}

void append(const char* line, std::size_t length) {
  const long fd = syscall(SYS_openat, AT_FDCWD, logFile, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
  if (fd < 0) {
    return;
  }
  syscall(SYS_write, fd, line, length);
  syscall(SYS_close, fd);
}

void capture(int priority, const char* format, va_list arguments) {
  const int callersErrno = errno; // for %m
  if ((setlogmask(0) & LOG_MASK(LOG_PRI(priority))) == 0) {
    return;
  }
  va_list again;
  va_copy(again, arguments);
  char usual[USUAL_LINE];
  char* line = usual;
  errno = callersErrno;
  const int formatted = std::vsnprintf(usual + PREFIX, sizeof usual - PREFIX - 1, format, arguments);
  if (formatted >= 0) {
    auto length = PREFIX + static_cast<std::size_t>(formatted);
    if (length + 2 > sizeof usual) {
      line = static_cast<char*>(std::malloc(length + 2));
      errno = callersErrno;
      if (line != nullptr) {
        std::vsnprintf(line + PREFIX, length + 1 - PREFIX, format, again);
      }
    }
    if (line != nullptr) {
      line[0] = '<';
      line[1] = static_cast<char>('0' + LOG_PRI(priority));
      line[2] = '>';
      line[3] = ' ';
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

void fortifiedVsyslog(int priority, int flag, const char* format, va_list arguments) asm("__vsyslog_chk");
void fortifiedSyslog(int priority, int flag, const char* format, ...) asm("__syslog_chk");

void vsyslog(int priority, const char* format, va_list arguments) {
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
