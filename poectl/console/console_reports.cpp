#include "poectl/console/console_reports.h"

#include "poectl/console/console_client.h"
#include "poectl/console/console_report.h"

#include <algorithm>
#include <utility>

namespace {

constexpr std::chrono::milliseconds PERIOD{4000};
constexpr std::chrono::milliseconds REPLY_LIMIT{5000}; // the service may be rebuilding the chip

} // namespace

ConsoleReports::ConsoleReports() : m_worker([this] { work(); }, PERIOD) {}

void ConsoleReports::readSettings(unsigned port) {
  const std::lock_guard lock(m_mutex);
  if (std::find(m_wanted.begin(), m_wanted.end(), port) == m_wanted.end()) {
    m_wanted.push_back(port); // once, however often the key is pressed while the console does not reply
  }
  m_worker.wake();
}

ConsoleReports::Update ConsoleReports::update() {
  const std::lock_guard lock(m_mutex);
  Update update = m_update;
  m_update.readings.clear();
  return update;
}

void ConsoleReports::work() {
  std::vector<unsigned> wanted;
  {
    const std::lock_guard lock(m_mutex);
    wanted = m_wanted;
  }
  for (const unsigned port : wanted) {
    Reading reading = read(port, m_worker.stopDescriptor());
    const std::lock_guard lock(m_mutex);
    m_wanted.erase(std::find(m_wanted.begin(), m_wanted.end(), port));
    m_update.readings.push_back(std::move(reading));
  }
  askFaults();
}

void ConsoleReports::askFaults() {
  std::array<std::string, POE_PORTS> faults;
  try {
    for (unsigned port = 0; port < POE_PORTS; port++) {
      faults[port] = faultsOf(parseChannel(askConsole(consoleLine("channel " + std::to_string(port)),
                                                      {REPLY_LIMIT, m_worker.stopDescriptor()}),
                                           port));
    }
  } catch (const ConsoleError&) { // the view shows that the service is gone by its messages
    faults = {};
  }
  const std::lock_guard lock(m_mutex);
  m_update.faults = faults;
}

ConsoleReports::Reading ConsoleReports::read(unsigned port, int stop) {
  try {
    PortDetails settings;
    addSettings(
        settings,
        parsePoePort(askConsole(consoleLine("poeport " + std::to_string(port)), {REPLY_LIMIT, stop}), port));
    if (!settings.limitW || !settings.priority) {
      return {port, std::nullopt, "the service cannot read the limit and the priority from the chip"};
    }
    return {port, settings, ""};
  } catch (const ConsoleError& error) {
    return {port, std::nullopt, error.what()};
  }
}
