// System functions of the program under test that a test can watch and have fail. Without a test's doing they
// are the real ones.
#pragma once

#include "tests/unit/platform/gate.h"

#include <atomic>
#include <cerrno>
#include <ctime>
#include <vector>

// While it exists, accept4() fails with `error`.
class FailingAccept {
public:
  explicit FailingAccept(int error);
  FailingAccept(const FailingAccept&) = delete;
  FailingAccept& operator=(const FailingAccept&) = delete;
  ~FailingAccept();

  // How often it has failed.
  static int calls();
};

// While it exists, what accept4() accepts sends from a buffer of 64 kB: more than a stalled client
// with a small buffer takes later, so that its connection does not become writable again.
class SmallSendBuffers {
public:
  SmallSendBuffers();
  SmallSendBuffers(const SmallSendBuffers&) = delete;
  SmallSendBuffers& operator=(const SmallSendBuffers&) = delete;
  ~SmallSendBuffers();
};

// While it exists, send() fails for more than 4 kB. It finds no room, as when a client reads nothing, at once
// and for good: a connection takes a little more whenever its client's system acknowledges what it has. Or it
// fails with another error.
class NoRoomForLongReplies {
public:
  explicit NoRoomForLongReplies(int error = EAGAIN);
  NoRoomForLongReplies(const NoRoomForLongReplies&) = delete;
  NoRoomForLongReplies& operator=(const NoRoomForLongReplies&) = delete;
  ~NoRoomForLongReplies();
};

// While it exists, send() takes one byte of what it is given.
class OneByteSends {
public:
  OneByteSends();
  OneByteSends(const OneByteSends&) = delete;
  OneByteSends& operator=(const OneByteSends&) = delete;
  ~OneByteSends();
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

// While it exists, eventfd() fails with `error`.
class FailingEventfd {
public:
  explicit FailingEventfd(int error);
  FailingEventfd(const FailingEventfd&) = delete;
  FailingEventfd& operator=(const FailingEventfd&) = delete;
  ~FailingEventfd();
};

// While it exists, `gate` opens after each eventfd_write().
class WatchedEventfd {
public:
  explicit WatchedEventfd(Gate& gate);
  WatchedEventfd(const WatchedEventfd&) = delete;
  WatchedEventfd& operator=(const WatchedEventfd&) = delete;
  ~WatchedEventfd();
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
