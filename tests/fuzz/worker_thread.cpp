#include "tests/fuzz/worker_thread.h"

#include "tests/support/doubles/platform_doubles.h"

WorkerThread::WorkerThread(PosixDoubles& posix) : m_posix(posix) {
  m_posix.onJoin = [this] {
    if (m_thread.joinable()) {
      runCycle(); // the one that is its last
      m_thread.join();
    }
  };
}

WorkerThread::~WorkerThread() {
  onSleep({});
}

void WorkerThread::start() {
  m_thread = std::thread([this] { run(); });
  runCycle();
}

void WorkerThread::runCycle() {
  hand(Turn::WORKER);
}

void WorkerThread::run() {
  {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_handed.wait(lock, [this] { return m_turn == Turn::WORKER; });
  }
  onSleep([this](double /*seconds*/) { hand(Turn::CALLER); });
  m_posix.runThread();
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_turn = Turn::CALLER;
  m_handed.notify_all();
}

// Hands over and waits until it is handed back.
void WorkerThread::hand(Turn turn) {
  std::unique_lock<std::mutex> lock(m_mutex);
  const Turn own = m_turn;
  m_turn = turn;
  m_handed.notify_all();
  m_handed.wait(lock, [this, own] { return m_turn == own; });
}
