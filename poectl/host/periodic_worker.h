// Work that may block, beside a thread that must not.
#pragma once

#include "posix/file_descriptor.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

// Starts a thread that takes no signals.
std::thread threadWithoutSignals(std::function<void()> work);

// Calls `work` at once, then a period after each return and whenever it is woken, on a thread of its own that
// takes no signals. The destructor waits for the call in progress.
class PeriodicWorker {
public:
  PeriodicWorker(std::function<void()> work, std::chrono::milliseconds period);
  PeriodicWorker(const PeriodicWorker&) = delete;
  PeriodicWorker& operator=(const PeriodicWorker&) = delete;
  ~PeriodicWorker();

  void wake();
  // For `work`, to end a wait early: readable from the begin of destruction on. Any thread.
  int stopDescriptor() const { return m_stopped.get(); }

private:
  void run();

  const std::function<void()> m_work;
  const std::chrono::milliseconds m_period;
  const FileDescriptor m_stopped; // an eventfd
  std::mutex m_mutex;
  std::condition_variable m_woken;
  bool m_wake = false;
  bool m_stop = false;
  std::thread m_thread;
};
