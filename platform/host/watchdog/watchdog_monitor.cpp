#include "platform/watchdog_monitor.h"

#include <cstdio>
#include <new>

#include "platform/host/console/debug_registry.h"
#include "platform/host/monotonic_clock.h"
#include "platform/host/watchdog/watchdog_supervisor.h"

class watchdogMonitor::Client : public WatchdogTable::Client {
public:
  using WatchdogTable::Client::Client;
};

watchdogMonitor::watchdogMonitor(const std::string& name) noexcept {
  static_assert(sizeof(Client) <= sizeof m_client && alignof(Client) <= alignof(std::uint64_t));
  WatchdogSupervisor::instance().add(new (m_client) Client(name));
}

watchdogMonitor::~watchdogMonitor() {
  WatchdogSupervisor::instance().remove(&client());
  client().~Client();
}

watchdogMonitor::Client& watchdogMonitor::client() {
  return *std::launder(reinterpret_cast<Client*>(m_client));
}

const watchdogMonitor::Client& watchdogMonitor::client() const {
  return *std::launder(reinterpret_cast<const Client*>(m_client));
}

// Whoever starts or feeds the watchdog has constructed its objects, so the console may call them.
void watchdogMonitor::wdm_start(unsigned milliseconds) {
  Zorvan::DebugRegistry::instance().showConstructed();
  WatchdogSupervisor::instance().start(client(), milliseconds);
}

void watchdogMonitor::wdm_notify(int /*code*/) {
  Zorvan::DebugRegistry::instance().showConstructed();
  WatchdogSupervisor::instance().notify(client());
}

void watchdogMonitor::wdm_dbg(char* buffer, unsigned length) const {
  if (buffer == nullptr) {
    return;
  }
  const WatchdogTable::Client record = WatchdogSupervisor::instance().snapshot(client());
  const std::uint64_t now = monotonicMilliseconds();
  const char* state = "NOT STARTED";
  if (record.started) {
    state = WatchdogTable::isLate(record, now) ? "LATE" : "IN TIME";
  }
  const std::uint64_t gap = record.started ? WatchdogTable::gap(record, now) : 0;
  std::snprintf(buffer, length,
                "watchdog client         : %s\n"
                "time-out (ms)           : %u\n"
                "last fed (ms ago)       : %llu\n"
                "state                   : %s\n",
                record.name, record.timeout, static_cast<unsigned long long>(gap), state);
}
