// A gate that threads wait at until it is opened; then it stays open.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

class Gate {
public:
  void open() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_open = true;
    m_opened.notify_all();
  }

  // Returns false when the gate has not been opened within `timeout`.
  bool wait(std::chrono::milliseconds timeout = std::chrono::seconds(30)) {
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_opened.wait_for(lock, timeout, [this] { return m_open; });
  }

private:
  std::mutex m_mutex;
  std::condition_variable m_opened;
  bool m_open = false;
};
