#include "platform/watchdog_monitor.h"

#include <cstdio>

#include "platform/host/monotonic_clock.h"
#include "platform/host/watchdog/watchdog_supervisor.h"

class watchdogMonitor::Client : public WatchdogTable::Client {
public:
  using WatchdogTable::Client::Client;
};

watchdogMonitor::watchdogMonitor(const std::string& name) : m_client(std::make_shared<Client>(name)) {
  WatchdogSupervisor::instance().add(m_client.get());
}

watchdogMonitor::~watchdogMonitor() {
  WatchdogSupervisor::instance().remove(m_client.get());
}

void watchdogMonitor::wdm_start(unsigned milliseconds) {
  WatchdogSupervisor::instance().start(*m_client, milliseconds);
}

void watchdogMonitor::wdm_notify(int /*code*/) {
  WatchdogSupervisor::instance().notify(*m_client);
}

void watchdogMonitor::wdm_dbg(char* buffer, unsigned length) const {
  if (buffer == nullptr) {
    return;
  }
  const WatchdogTable::Client client = WatchdogSupervisor::instance().snapshot(*m_client);
  const std::uint64_t now = monotonicMilliseconds();
  const char* state = "NOT STARTED";
  if (client.started) {
    state = WatchdogTable::isLate(client, now) ? "LATE" : "IN TIME";
  }
  const std::uint64_t gap = client.started ? WatchdogTable::gap(client, now) : 0;
  std::snprintf(buffer, length,
                "watchdog client         : %s\n"
                "time-out (ms)           : %u\n"
                "last fed (ms ago)       : %llu\n"
                "state                   : %s\n",
                client.name.c_str(), client.timeout, static_cast<unsigned long long>(gap), state);
}
