#include "system_calls.h"

#include <algorithm>
#include <netinet/in.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

namespace {

std::atomic<int> g_failingFamily{AF_UNSPEC};
std::atomic<FailingFamily::Call> g_failingCall{FailingFamily::Call::SOCKET};
std::atomic<int> g_familyError{0};
bool g_sleepScripted = false;
std::vector<int> g_sleepResults;
std::vector<ScriptedSleep::Request> g_sleepRequests;

bool failsFor(int family, FailingFamily::Call call) {
  if (g_failingFamily != family || g_failingCall != call) {
    return false;
  }
  errno = g_familyError;
  return true;
}

bool fails(int socket, FailingFamily::Call call) {
  int family = AF_UNSPEC;
  socklen_t size = sizeof family;
  getsockopt(socket, SOL_SOCKET, SO_DOMAIN, &family, &size);
  return failsFor(family, call);
}

} // namespace

extern "C" {

int __real_accept4(int socket, sockaddr* address, socklen_t* size, int flags);
int __real_socket(int family, int type, int protocol);
int __real_setsockopt(int socket, int level, int name, const void* value, socklen_t size);
int __real_listen(int socket, int backlog);
int __real_bind(int socket, const sockaddr* address, socklen_t size);
ssize_t __real_send(int socket, const void* bytes, std::size_t size, int flags);
int __real_eventfd(unsigned count, int flags);
int __real_eventfd_write(int fd, eventfd_t value);
int __real_clock_nanosleep(clockid_t clock, int flags, const timespec* time, timespec* rest);

int __wrap_accept4(int socket, sockaddr* address, socklen_t* size, int flags) {
  const int error = SystemCalls::acceptError; // read once: the test may end it meanwhile
  if (error == 0) {
    const int accepted = __real_accept4(socket, address, size, flags);
    if (const int buffer = 64 * 1024; SystemCalls::hasSmallSendBuffers) {
      setsockopt(accepted, SOL_SOCKET, SO_SNDBUF, &buffer, sizeof buffer);
    }
    return accepted;
  }
  ++SystemCalls::acceptCalls;
  errno = error;
  return -1;
}

int __wrap_socket(int family, int type, int protocol) {
  return failsFor(family, FailingFamily::Call::SOCKET) ? -1 : __real_socket(family, type, protocol);
}

int __wrap_setsockopt(int socket, int level, int name, const void* value, socklen_t size) {
  using Call = FailingFamily::Call;
  const bool failed = (level == SOL_SOCKET && name == SO_REUSEADDR && fails(socket, Call::REUSE_ADDRESS)) ||
                      (level == IPPROTO_IPV6 && name == IPV6_V6ONLY && fails(socket, Call::ONLY_IPV6));
  return failed ? -1 : __real_setsockopt(socket, level, name, value, size);
}

int __wrap_listen(int socket, int backlog) {
  return fails(socket, FailingFamily::Call::LISTEN) ? -1 : __real_listen(socket, backlog);
}

int __wrap_bind(int socket, const sockaddr* address, socklen_t size) {
  return failsFor(address->sa_family, FailingFamily::Call::BIND) ? -1 : __real_bind(socket, address, size);
}

ssize_t __wrap_send(int socket, const void* bytes, std::size_t size, int flags) {
  if (const int error = SystemCalls::longReplyError; error != 0 && size > 4096) {
    errno = error;
    return -1;
  }
  return __real_send(socket, bytes, SystemCalls::sendsOneByte ? std::min<std::size_t>(size, 1) : size, flags);
}

int __wrap_eventfd(unsigned count, int flags) {
  if (SystemCalls::eventfdError == 0) {
    return __real_eventfd(count, flags);
  }
  errno = SystemCalls::eventfdError;
  return -1;
}

int __wrap_eventfd_write(int fd, eventfd_t value) {
  const int result = __real_eventfd_write(fd, value);
  if (Gate* gate = SystemCalls::eventfdWritten) {
    gate->open();
  }
  return result;
}

int __wrap_clock_nanosleep(clockid_t clock, int flags, const timespec* time, timespec* rest) {
  if (!g_sleepScripted) {
    return __real_clock_nanosleep(clock, flags, time, rest);
  }
  g_sleepRequests.push_back({clock, flags, *time});
  return g_sleepRequests.size() <= g_sleepResults.size() ? g_sleepResults[g_sleepRequests.size() - 1] : 0;
}

} // extern "C"

FailingFamily::FailingFamily(int family, Call call, int error) {
  g_familyError = error;
  g_failingCall = call;
  g_failingFamily = family;
}

FailingFamily::~FailingFamily() {
  g_failingFamily = AF_UNSPEC;
}

ScriptedSleep::ScriptedSleep(const std::vector<int>& results) {
  g_sleepResults = results;
  g_sleepRequests.clear();
  g_sleepScripted = true;
}

ScriptedSleep::~ScriptedSleep() {
  g_sleepScripted = false;
}

const std::vector<ScriptedSleep::Request>& ScriptedSleep::requests() {
  return g_sleepRequests;
}
