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

constexpr std::chrono::seconds CHECK_PERIOD(1);

unsigned printable(std::uint64_t milliseconds) {
  constexpr std::uint64_t most = std::numeric_limits<unsigned>::max();
  return static_cast<unsigned>(std::min(milliseconds, most));
}

void log(const std::vector<WatchdogTable::Report>& reports) {
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
  std::vector<WatchdogTable::Report> reports;
  std::thread idle;
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    reports = m_table.remove(client, monotonicMilliseconds());
    if (m_table.startedClients() == 0 && m_thread.joinable()) {
      ++m_generation;
      idle = std::move(m_thread);
    }
  }
  // Another thread may start a client from here on; it gets a new supervisor thread of the new generation.
  if (idle.joinable()) {
    m_ended.notify_all();
    idle.join();
  }
  log(reports);
}

void WatchdogSupervisor::start(Client& client, unsigned timeout) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_table.start(client, timeout, monotonicMilliseconds());
  if (!m_thread.joinable()) {
    launch();
  }
}

void WatchdogSupervisor::launch() {
  try {
    m_thread = std::thread(&WatchdogSupervisor::run, this, m_generation);
  } catch (const std::system_error& error) {
    syslog(LOG_CRIT, "watchdog: cannot start the supervisor thread: %s\n", error.code().message().c_str());
  }
}

void WatchdogSupervisor::notify(Client& client) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_table.notify(client, monotonicMilliseconds());
}

WatchdogSupervisor::Client WatchdogSupervisor::snapshot(const Client& client) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return client;
}

void WatchdogSupervisor::run(unsigned generation) {
  const ServiceManager serviceManager;
  std::unique_lock<std::mutex> lock(m_mutex);
  while (m_generation == generation) {
    const WatchdogTable::Findings findings = m_table.check(monotonicMilliseconds());
    // No client has to wait for the log when it feeds the watchdog. All lines about a supervised client come
    // from this thread, so they come in order.
    lock.unlock();
    log(findings.reports);
    if (findings.allInTime) {
      serviceManager.keepAlive();
    }
    lock.lock();
    m_ended.wait_for(lock, CHECK_PERIOD, [&] { return m_generation != generation; });
  }
}
