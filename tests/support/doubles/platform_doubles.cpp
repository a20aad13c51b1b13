#include "tests/support/doubles/platform_doubles.h"

#include "platform/better_sleep.h"
#include "platform/watchdog_monitor.h"
#include "tests/support/doubles/allocation.h"

#include <cstring>
#include <mutex>
#include <new>
#include <utility>

namespace {

std::mutex mutex;
std::vector<std::string> watchdogEvents;
std::function<void(double)> sleepAction;
std::function<void(const std::string&)> watchdogAction;
std::string watchdogText;

void note(const std::string& name, const std::string& event) {
  const UncountedAllocations uncounted;
  const std::lock_guard<std::mutex> lock(mutex);
  if (watchdogAction) {
    watchdogAction(name + " " + event);
  }
  watchdogEvents.push_back(name + " " + event);
}

} // namespace

void onSleep(std::function<void(double)> action) {
  const std::lock_guard<std::mutex> lock(mutex);
  sleepAction = std::move(action);
}

void setWatchdogText(const std::string& text) {
  const std::lock_guard<std::mutex> lock(mutex);
  watchdogText = text;
}

void onWatchdogEvent(std::function<void(const std::string&)> action) {
  const std::lock_guard<std::mutex> lock(mutex);
  watchdogAction = std::move(action);
}

std::vector<std::string> takeWatchdogEvents() {
  const std::lock_guard<std::mutex> lock(mutex);
  return std::exchange(watchdogEvents, {});
}

void BetterSleep(double seconds) {
  const UncountedAllocations uncounted;
  std::function<void(double)> action;
  {
    const std::lock_guard<std::mutex> lock(mutex);
    action = sleepAction;
  }
  if (action) {
    action(seconds);
  }
}

class watchdogMonitor::Client {
public:
  std::string name;
};

watchdogMonitor::watchdogMonitor(const std::string& name) noexcept {
  static_assert(sizeof(Client) <= sizeof m_client);
  new (m_client) Client{name};
  note(name, "created");
}

watchdogMonitor::~watchdogMonitor() {
  note(client().name, "deleted");
  client().~Client();
}

watchdogMonitor::Client& watchdogMonitor::client() {
  return *std::launder(reinterpret_cast<Client*>(m_client));
}

const watchdogMonitor::Client& watchdogMonitor::client() const {
  return *std::launder(reinterpret_cast<const Client*>(m_client));
}

void watchdogMonitor::wdm_start(unsigned milliseconds) {
  note(client().name, "start " + std::to_string(milliseconds));
}

void watchdogMonitor::wdm_notify(int code) {
  note(client().name, "notify " + std::to_string(code));
}

void watchdogMonitor::wdm_dbg(char* buffer, unsigned length) const {
  const std::lock_guard<std::mutex> lock(mutex);
  if (watchdogAction) {
    watchdogAction(client().name + " asked");
  }
  const std::string text = watchdogText.empty() ? "state of " + client().name + "\n" : watchdogText;
  std::strncpy(buffer, text.c_str(), length);
}
