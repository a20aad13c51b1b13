// Preloaded into the unmodified service by the process tests: faults that cannot be had from outside.
//
// POE_TEST_FAIL_NEW=N      the N-th new (std::nothrow) of the process yields nothing
// POE_TEST_FAIL_MQ_OPEN=E  mq_open of "/queueToPoe" fails with errno E
//
// SIGTERM interrupts a system call instead of ending the process, so that a receive can fail with EINTR.
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <mqueue.h>
#include <new>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

int numberFrom(const char* variable) {
  const char* text = std::getenv(variable);
  return text != nullptr ? std::atoi(text) : 0;
}

void ignore(int) {}

[[gnu::constructor]] void interruptOnSigterm() {
  struct sigaction action {};
  action.sa_handler = ignore; // without SA_RESTART
  sigaction(SIGTERM, &action, nullptr);
}

} // namespace

// noinline: the compiler must not pair it with the delete of its caller.
__attribute__((noinline)) void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  static int count = 0;
  count++;
  if (count == numberFrom("POE_TEST_FAIL_NEW")) {
    return nullptr;
  }
  return ::operator new(size);
}

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

extern "C" mqd_t mq_open(const char* name, int flags, ...) {
  using MqOpen = mqd_t (*)(const char*, int, ...);
  static const auto real = reinterpret_cast<MqOpen>(dlsym(RTLD_NEXT, "mq_open"));
  const int error = numberFrom("POE_TEST_FAIL_MQ_OPEN");
  if (error != 0 && std::strcmp(name, "/queueToPoe") == 0) {
    errno = error;
    return -1;
  }
  if ((flags & O_CREAT) == 0) {
    return real(name, flags);
  }
  va_list arguments;
  va_start(arguments, flags);
  const unsigned mode = va_arg(arguments, unsigned);
  mq_attr* attributes = va_arg(arguments, mq_attr*);
  va_end(arguments);
  return real(name, flags, mode, attributes);
}
