// The engine's worker on a thread of its own that runs only while its caller waits: from one sleep to the
// next.
#pragma once

#include "tests/support/doubles/posix_doubles.h"

#include <condition_variable>
#include <mutex>
#include <thread>

class WorkerThread {
public:
  // Takes the places of the engine's sleep and of its pthread_join, at which the thread runs to its end.
  explicit WorkerThread(PosixDoubles& posix);
  ~WorkerThread();
  WorkerThread(const WorkerThread&) = delete;
  WorkerThread& operator=(const WorkerThread&) = delete;

  // What pthread_create was given begins, with the chip's set-up and the first cycle.
  void start();
  void runCycle();

private:
  enum class Turn { CALLER, WORKER };

  void run();
  void hand(Turn turn);

  PosixDoubles& m_posix;
  std::mutex m_mutex;
  std::condition_variable m_handed;
  Turn m_turn = Turn::CALLER; // guarded by m_mutex
  std::thread m_thread;
};
