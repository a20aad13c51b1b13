// Preloaded into the unmodified service by the process tests: faults that cannot be had from outside.
//
// SIGTERM interrupts a system call instead of ending the process, so that a receive can fail with EINTR.
#include <csignal>
#include <cstdarg>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

void ignore(int) {}

[[gnu::constructor]] void interruptOnSigterm() {
  struct sigaction action {};
  action.sa_handler = ignore; // without SA_RESTART
  sigaction(SIGTERM, &action, nullptr);
}

} // namespace

// The mock of the adapter opens a socket with whatever the process opens, which would take the place of the
// next standard descriptor.
extern "C" int open(const char* path, int flags, ...) {
  using Open = int (*)(const char*, int, ...);
  static const auto real = reinterpret_cast<Open>(dlsym(RTLD_NEXT, "open"));
  va_list arguments;
  va_start(arguments, flags);
  const unsigned mode = (flags & O_CREAT) != 0 ? va_arg(arguments, unsigned) : 0;
  va_end(arguments);
  if (std::strcmp(path, "/dev/null") == 0) {
    return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
  }
  return real(path, flags, mode);
}
