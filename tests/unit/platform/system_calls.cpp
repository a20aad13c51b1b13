#include "system_calls.h"

#include <algorithm>
#include <netinet/in.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

namespace {

std::atomic<int> g_acceptError{0};
std::atomic<int> g_acceptCalls{0};
std::atomic<bool> g_smallSendBuffers{false};
std::atomic<int> g_longReplyError{0};
std::atomic<bool> g_oneByteSends{false};
std::atomic<int> g_eventfdError{0};
std::atomic<Gate*> g_eventfdWritten{nullptr};
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
  const int error = g_acceptError; // read once: the test may end it meanwhile
  if (error == 0) {
    const int accepted = __real_accept4(socket, address, size, flags);
    if (const int buffer = 64 * 1024; g_smallSendBuffers) {
      setsockopt(accepted, SOL_SOCKET, SO_SNDBUF, &buffer, sizeof buffer);
    }
    return accepted;
  }
  ++g_acceptCalls;
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
  if (const int error = g_longReplyError; error != 0 && size > 4096) {
    errno = error;
    return -1;
  }
  return __real_send(socket, bytes, g_oneByteSends ? std::min<std::size_t>(size, 1) : size, flags);
}

int __wrap_eventfd(unsigned count, int flags) {
  if (g_eventfdError == 0) {
    return __real_eventfd(count, flags);
  }
  errno = g_eventfdError;
  return -1;
}

int __wrap_eventfd_write(int fd, eventfd_t value) {
  const int result = __real_eventfd_write(fd, value);
  if (Gate* gate = g_eventfdWritten) {
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

FailingAccept::FailingAccept(int error) {
  g_acceptCalls = 0;
  g_acceptError = error;
}

FailingAccept::~FailingAccept() {
  g_acceptError = 0;
}

int FailingAccept::calls() {
  return g_acceptCalls;
}

SmallSendBuffers::SmallSendBuffers() {
  g_smallSendBuffers = true;
}

SmallSendBuffers::~SmallSendBuffers() {
  g_smallSendBuffers = false;
}

NoRoomForLongReplies::NoRoomForLongReplies(int error) {
  g_longReplyError = error;
}

NoRoomForLongReplies::~NoRoomForLongReplies() {
  g_longReplyError = 0;
}

OneByteSends::OneByteSends() {
  g_oneByteSends = true;
}

OneByteSends::~OneByteSends() {
  g_oneByteSends = false;
}

FailingFamily::FailingFamily(int family, Call call, int error) {
  g_familyError = error;
  g_failingCall = call;
  g_failingFamily = family;
}

FailingFamily::~FailingFamily() {
  g_failingFamily = AF_UNSPEC;
}

FailingEventfd::FailingEventfd(int error) {
  g_eventfdError = error;
}

FailingEventfd::~FailingEventfd() {
  g_eventfdError = 0;
}

WatchedEventfd::WatchedEventfd(Gate& gate) {
  g_eventfdWritten = &gate;
}

WatchedEventfd::~WatchedEventfd() {
  g_eventfdWritten = nullptr;
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
