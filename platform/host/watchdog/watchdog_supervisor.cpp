#include "platform/host/watchdog/watchdog_supervisor.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <new>
#include <system_error>
#include <utility>

#include <syslog.h>

#include "platform/host/monotonic_clock.h"
#include "platform/host/watchdog/service_manager.h"

namespace {

unsigned printable(std::uint64_t milliseconds) {
  constexpr std::uint64_t most = std::numeric_limits<unsigned>::max();
  return static_cast<unsigned>(std::min(milliseconds, most));
}

void write(const WatchdogTable::Reports& reports) {
  for (const WatchdogTable::Report& report : reports) {
    if (report.kind == WatchdogTable::Report::Kind::NOT_FED) {
      syslog(LOG_CRIT, "watchdog client %s not fed for %u ms (time-out %u ms)\n", report.name.c_str(),
             printable(report.gap), report.timeout);
    } else {
      syslog(LOG_CRIT, "watchdog client %s fed again after %u ms\n", report.name.c_str(),
             printable(report.gap));
    }
  }
}

} // namespace

WatchdogSupervisor& WatchdogSupervisor::instance() {
  alignas(WatchdogSupervisor) static unsigned char storage[sizeof(WatchdogSupervisor)];
  static auto* const supervisor = new (storage) WatchdogSupervisor;
  return *supervisor;
}

void WatchdogSupervisor::add(Client* client) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_table.add(client);
}

void WatchdogSupervisor::remove(Client* client) {
  std::unique_lock<std::mutex> lock(m_mutex);
  const WatchdogTable::Reports reports = m_table.remove(client, monotonicMilliseconds());
  if (m_table.startedClients() == 0 && m_thread.joinable()) {
    ++m_generation;
    std::thread idle = std::move(m_thread);
    // Another thread may start a client from here on; it gets a new supervisor thread of the new generation.
    lock.unlock();
    m_wake.notify_all();
    idle.join();
    lock.lock();
  }
  log(lock, reports);
}

void WatchdogSupervisor::start(Client& client, unsigned timeout) {
  std::unique_lock<std::mutex> lock(m_mutex);
  const WatchdogTable::Reports reports = m_table.start(client, timeout, monotonicMilliseconds());
  std::error_code failure;
  if (!m_thread.joinable()) {
    failure = launch();
  }
  m_wake.notify_all();
  log(lock, reports);
  lock.unlock();
  if (failure) {
    syslog(LOG_CRIT, "watchdog: cannot start the supervisor thread: %s\n", failure.message().c_str());
  }
}

std::error_code WatchdogSupervisor::launch() {
  try {
    m_thread = std::thread(&WatchdogSupervisor::run, this, m_generation);
  } catch (const std::system_error& error) {
    return error.code();
  }
  return {};
}

void WatchdogSupervisor::notify(Client& client) {
  std::unique_lock<std::mutex> lock(m_mutex);
  log(lock, m_table.notify(client, monotonicMilliseconds()));
}

WatchdogSupervisor::Client WatchdogSupervisor::snapshot(const Client& client) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return client;
}

void WatchdogSupervisor::log(std::unique_lock<std::mutex>& lock, const WatchdogTable::Reports& reports) {
  if (reports.empty()) {
    return;
  }
  const unsigned ticket = m_nextTicket++;
  m_turnChanged.wait(lock, [&] { return m_turn == ticket; });
  lock.unlock();
  write(reports);
  lock.lock();
  ++m_turn;
  m_turnChanged.notify_all();
}

void WatchdogSupervisor::run(unsigned generation) {
  const ServiceManager serviceManager;
  std::uint64_t keepAliveDue = serviceManager.period() != 0 ? 0 : WatchdogTable::NEVER;
  std::unique_lock<std::mutex> lock(m_mutex);
  while (m_generation == generation) {
    const std::uint64_t now = monotonicMilliseconds();
    const WatchdogTable::Findings findings = m_table.check(now);
    const bool isKeepAliveDue = now >= keepAliveDue;
    if (isKeepAliveDue) {
      keepAliveDue = now + serviceManager.period();
    }
    if (isKeepAliveDue || !findings.reports.empty()) {
      log(lock, findings.reports);
      if (isKeepAliveDue && findings.allInTime) {
        lock.unlock();
        serviceManager.keepAlive();
        lock.lock();
      }
      continue; // the mutex was unlocked, so a deadline may have changed
    }
    const std::uint64_t wakeUp = std::min(m_table.nextDeadline(), keepAliveDue);
    if (wakeUp == WatchdogTable::NEVER) {
      m_wake.wait(lock);
    } else {
      m_wake.wait_until(lock, std::chrono::steady_clock::time_point(std::chrono::milliseconds(wakeUp)));
    }
  }
}
