#include "platform/host/watchdog/service_manager.h"

#ifdef POE_HAVE_SYSTEMD

#include <cstdlib>

#include <systemd/sd-daemon.h>

ServiceManager::ServiceManager() : m_present(std::getenv("NOTIFY_SOCKET") != nullptr) {}

void ServiceManager::keepAlive() const {
  if (m_present) {
    sd_notify(0, "WATCHDOG=1"); // a lost message is made good by the next one
  }
}

#else

ServiceManager::ServiceManager() : m_present(false) {}

void ServiceManager::keepAlive() const {}

#endif
