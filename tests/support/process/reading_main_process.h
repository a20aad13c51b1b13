// A main process that is not poectl: it holds "/queueToMain" and reads every message as it comes.
#pragma once

#include "tests/support/process/main_process.h"
#include "tests/support/process/wait_until.h"

#include <atomic>
#include <gtest/gtest.h>
#include <mutex>
#include <thread>

class ReadingMainProcess {
public:
  ReadingMainProcess() : m_thread([this] { read(); }) {}
  ReadingMainProcess(const ReadingMainProcess&) = delete;
  ReadingMainProcess& operator=(const ReadingMainProcess&) = delete;
  ~ReadingMainProcess() {
    m_over = true;
    m_thread.join();
  }

  std::size_t count() const {
    const std::lock_guard lock(m_mutex);
    return m_statuses.size();
  }

  // The last one; there must be one.
  PoeStatus last() const {
    const std::lock_guard lock(m_mutex);
    return m_statuses.back();
  }

  // Waits for more messages, which begin after this call.
  void await(std::size_t more) const {
    const std::size_t before = count();
    EXPECT_TRUE(waitUntil([&] { return count() >= before + more; }));
  }

private:
  void read() {
    while (!m_over) {
      const std::vector<PoeStatus> statuses = m_queue.waiting();
      {
        const std::lock_guard lock(m_mutex);
        m_statuses.insert(m_statuses.end(), statuses.begin(), statuses.end());
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
  }

  MainProcessQueue m_queue;
  mutable std::mutex m_mutex; // guards m_statuses
  std::vector<PoeStatus> m_statuses;
  std::atomic<bool> m_over{false};
  std::thread m_thread; // the last: it uses all others
};
