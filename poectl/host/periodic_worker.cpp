#include "poectl/host/periodic_worker.h"

#include <csignal>
#include <sys/eventfd.h>
#include <utility>

std::thread threadWithoutSignals(std::function<void()> work) {
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_BLOCK, &all, &before); // the thread inherits it
  std::thread thread(std::move(work));
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  return thread;
}

PeriodicWorker::PeriodicWorker(std::function<void()> work, std::chrono::milliseconds period)
    : m_work(std::move(work)), m_period(period), m_stopped(eventfd(0, EFD_CLOEXEC)) {
  m_thread = threadWithoutSignals([this] { run(); });
}

PeriodicWorker::~PeriodicWorker() {
  {
    const std::lock_guard lock(m_mutex);
    m_stop = true;
  }
  eventfd_write(m_stopped.get(), 1);
  m_woken.notify_one();
  m_thread.join();
}

void PeriodicWorker::wake() {
  {
    const std::lock_guard lock(m_mutex);
    m_wake = true;
  }
  m_woken.notify_one();
}

void PeriodicWorker::run() {
  std::unique_lock lock(m_mutex);
  while (!m_stop) {
    m_wake = false;
    lock.unlock();
    m_work();
    lock.lock();
    m_woken.wait_for(lock, m_period, [this] { return m_wake || m_stop; });
  }
}
