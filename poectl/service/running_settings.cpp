#include "poectl/service/running_settings.h"

#include "poectl/service/console_client.h"

namespace {

// The console reads the chip for an answer, between the service's own cycles.
constexpr std::chrono::milliseconds PERIOD{4000};
constexpr std::chrono::milliseconds PATIENCE{1000};

} // namespace

RunningSettings::RunningSettings() : m_worker([this] { ask(); }, PERIOD) {}

AllPortSettings RunningSettings::settings() {
  const std::lock_guard lock(m_mutex);
  return m_settings;
}

void RunningSettings::ask() {
  AllPortSettings settings;
  try {
    for (unsigned port = 0; port < POE_PORTS && !m_worker.isStopping(); port++) {
      settings[port] =
          parsePortSettings(askConsole(consoleLine("poeport " + std::to_string(port)), PATIENCE));
    }
  } catch (const ConsoleError&) { // the view shows that the settings are not known
    settings = {};
  }
  const std::lock_guard lock(m_mutex);
  m_settings = settings;
}
