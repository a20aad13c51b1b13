// The settings of the ports as the service's console tells them.
#pragma once

#include "poectl/service/periodic_worker.h"
#include "poectl/service/port_settings.h"

#include <array>
#include <mutex>

using AllPortSettings = std::array<std::optional<PortSettings>, POE_PORTS>;

// Asks every few seconds. No call waits for the console; the destructor waits at most 1 s.
class RunningSettings {
public:
  RunningSettings();

  // What the console said last; nothing for a port while it does not answer.
  AllPortSettings settings();

private:
  void ask();

  std::mutex m_mutex; // guards m_settings
  AllPortSettings m_settings;
  PeriodicWorker m_worker; // the last: its thread uses all others
};
