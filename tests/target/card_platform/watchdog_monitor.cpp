#include "platform/watchdog_monitor.h"

watchdogMonitor::watchdogMonitor(const char* /*name*/) {}

watchdogMonitor::~watchdogMonitor() = default;

void watchdogMonitor::wdm_start(unsigned /*milliseconds*/) {}

void watchdogMonitor::wdm_notify(int /*code*/) {}

void watchdogMonitor::wdm_dbg(char* buffer, unsigned length) const {
  if (length > 0) {
    buffer[0] = '\0';
  }
}
