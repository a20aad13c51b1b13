// System functions of the program under test that a test can watch and have fail. Without a test's doing they
// are the real ones.
#pragma once

#include "tests/unit/platform/gate.h"

#include <atomic>
#include <cerrno>
#include <ctime>
#include <sys/socket.h>
#include <vector>

// What the replaced functions do; a test changes it by the classes below.
namespace SystemCalls {
inline std::atomic<int> acceptError{0};
inline std::atomic<int> acceptCalls{0};
inline std::atomic<bool> hasSmallSendBuffers{false};
inline std::atomic<int> longReplyError{0};
inline std::atomic<bool> sendsOneByte{false};
inline std::atomic<int> eventfdError{0};
inline std::atomic<Gate*> eventfdWritten{nullptr};
} // namespace SystemCalls

// Gives a setting a value while it exists.
template <typename Value>
class ScopedSetting {
public:
  ScopedSetting(const ScopedSetting&) = delete;
  ScopedSetting& operator=(const ScopedSetting&) = delete;

protected:
  ScopedSetting(std::atomic<Value>* setting, Value value) : m_setting(*setting) { m_setting = value; }
  ~ScopedSetting() { m_setting = Value{}; }

private:
  std::atomic<Value>& m_setting;
};

// While it exists, accept4() fails with `error`.
class FailingAccept : ScopedSetting<int> {
public:
  explicit FailingAccept(int error) : ScopedSetting(&SystemCalls::acceptError, error) {
    SystemCalls::acceptCalls = 0;
  }

  // How often it has failed.
  static int calls() { return SystemCalls::acceptCalls; }
};

// While it exists, what accept4() accepts sends from a buffer of 64 kB: more than a stalled client
// with a small buffer takes later, so that its connection does not become writable again.
struct SmallSendBuffers : ScopedSetting<bool> {
  SmallSendBuffers() : ScopedSetting(&SystemCalls::hasSmallSendBuffers, true) {}
};

// While it exists, send() fails for more than 4 kB. It finds no room, as when a client reads nothing, at once
// and for good: a connection takes a little more whenever its client's system acknowledges what it has. Or it
// fails with another error.
struct NoRoomForLongReplies : ScopedSetting<int> {
  explicit NoRoomForLongReplies(int error = EAGAIN) : ScopedSetting(&SystemCalls::longReplyError, error) {}
};

// While it exists, send() takes one byte of what it is given.
struct OneByteSends : ScopedSetting<bool> {
  OneByteSends() : ScopedSetting(&SystemCalls::sendsOneByte, true) {}
};

// While it exists, eventfd() fails with `error`.
struct FailingEventfd : ScopedSetting<int> {
  explicit FailingEventfd(int error) : ScopedSetting(&SystemCalls::eventfdError, error) {}
};

// While it exists, `gate` opens after each eventfd_write().
struct WatchedEventfd : ScopedSetting<Gate*> {
  explicit WatchedEventfd(Gate& gate) : ScopedSetting(&SystemCalls::eventfdWritten, &gate) {}
};

// While it exists, one call for a listening socket of the address family fails with `error`.
class FailingFamily {
public:
  enum class Call { SOCKET, REUSE_ADDRESS, ONLY_IPV6, BIND, LISTEN };
  FailingFamily(int family, Call call, int error);
  FailingFamily(const FailingFamily&) = delete;
  FailingFamily& operator=(const FailingFamily&) = delete;
  ~FailingFamily();
};

// While it exists, clock_nanosleep() does not sleep: it notes what is asked for and returns `results` one by
// one, then 0. For one thread.
class ScriptedSleep {
public:
  struct Request {
    clockid_t clock;
    int flags;
    timespec time;
  };

  explicit ScriptedSleep(const std::vector<int>& results = {});
  ScriptedSleep(const ScriptedSleep&) = delete;
  ScriptedSleep& operator=(const ScriptedSleep&) = delete;
  ~ScriptedSleep();

  static const std::vector<Request>& requests();
};
