#include "platform/host/watchdog/service_manager.h"

#ifdef POE_HAVE_SYSTEMD

#include <algorithm>

#include <systemd/sd-daemon.h>

ServiceManager::ServiceManager() {
  std::uint64_t limit = 0; // microseconds
  if (sd_watchdog_enabled(0, &limit) > 0) {
    m_period = std::max<std::uint64_t>(limit / 2 / 1000, 1);
  }
}

void ServiceManager::keepAlive() const {
  if (m_period != 0) {
    sd_notify(0, "WATCHDOG=1"); // a lost message is made good by the next one
  }
}

#else

ServiceManager::ServiceManager() = default;

void ServiceManager::keepAlive() const {}

#endif
