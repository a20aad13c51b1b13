// The POSIX calls of the engine in the unit tests, taken over at link time (--wrap of mq_open, mq_timedsend,
// mq_close, clock_gettime, pthread_create, pthread_join) while a PosixDoubles exists; otherwise they are the
// real ones.
#pragma once

#include "components/PoeDriver/poe_messages.h"

#include <cstdint>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

// The queue to the main process, the time of day and the thread of the worker.
class PosixDoubles {
public:
  static constexpr int QUEUE = 0x51;

  PosixDoubles();
  ~PosixDoubles();
  PosixDoubles(const PosixDoubles&) = delete;
  PosixDoubles& operator=(const PosixDoubles&) = delete;

  timespec timeOfDay = {1'700'000'000, 123'456'789};

  // errno of the calls to come; 0: they succeed.
  int openError = 0;
  int sendError = 0;
  int closeError = 0; // of the queue's mq_close
  int clockError = 0; // the time is then left as it was
  int createError = 0;
  int joinError = 0;

  // Called in the place of a send, before it succeeds or fails.
  std::function<void()> onSend;

  // Called in the place of a join.
  std::function<void()> onJoin;

  // Each call as text, for example "mq_open /queueToMain O_WRONLY", in order.
  std::vector<std::string> calls;

  // The messages sent, byte for byte.
  std::vector<std::vector<std::uint8_t>> messages;

  // The last message sent, as a record.
  PoeStatusMessage lastMessage() const;

  // What the calls with a deadline must be given: a second from now, or from 0 when there is no clock.
  timespec deadline() const;

  // Runs what pthread_create was given, on the calling thread; the result is the thread's exit value.
  void* runThread();

  void* (*startRoutine)(void*) = nullptr;
  void* startArgument = nullptr;
};
