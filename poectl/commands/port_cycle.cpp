#include "poectl/commands/port_cycle.h"

#include "poectl/command_line.h"
#include "poectl/commands/apply.h"
#include "poectl/console/console_client.h"
#include "poectl/console/console_report.h"
#include "poectl/service/cycle_lock.h"
#include "poectl/service/end_signals.h"

#include <csignal>
#include <cstdio>
#include <poll.h>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// A PD needs a moment to lose its charge. The console shows what the service's last cycle read: after this
// time, that is the port as it is since the change.
constexpr milliseconds MIN_OFF{2000};
constexpr milliseconds MAX_OFF{10000};
constexpr milliseconds BETWEEN_LOOKS{200};
// With the 0.8 s that a signal leaves, even when the queue has no room.
constexpr milliseconds ON_LIMIT{500};

// Makes no transfer on the chip's bus.
bool hasPower(unsigned port, const ConsoleWait& wait) {
  const ChannelReport channel =
      parseChannel(askConsole(consoleLine("channel " + std::to_string(port)), wait), port);
  return channel.enabled || channel.powerGood;
}

// False when `stop` became readable.
bool waitFor(milliseconds time, int stop) {
  const Clock::time_point end = Clock::now() + time;
  for (milliseconds left = time; left.count() > 0;
       left = std::chrono::ceil<milliseconds>(end - Clock::now())) {
    pollfd stopped{stop, POLLIN, 0};
    if (poll(&stopped, 1, static_cast<int>(left.count())) > 0) {
      return false;
    }
  }
  return true;
}

// Why the port is not known to be off; empty when it is.
std::string waitUntilOff(unsigned port, Clock::time_point since, int stop) {
  try {
    for (milliseconds pause = MIN_OFF; waitFor(pause, stop); pause = BETWEEN_LOOKS) {
      const auto left = std::chrono::ceil<milliseconds>(since + MAX_OFF - Clock::now());
      if (left.count() <= 0) {
        return "it still had power after 10 s";
      }
      if (!hasPower(port, {left, stop})) {
        return "";
      }
    }
    return "interrupted";
  } catch (const ConsoleError& error) {
    return error.what();
  }
}

} // namespace

int cyclePort(const ConfigFile& file, unsigned port, const std::string& path) {
  const std::string label = portLabel(port, file.names);
  if (file.config.port[port].adminEnable == 0) {
    throw UsageError(label + " is off in " + path + "; a port that is on is accepted");
  }
  const EndSignals signals({SIGINT, SIGTERM, SIGQUIT, SIGHUP});
  const CycleLock lock(port, CycleLock::now());
  hasPower(port, {MAX_OFF, signals.descriptor()}); // without the console nothing is switched off
  std::printf("%s: off for at least 2 s\n", label.c_str());
  std::fflush(stdout); // nothing is written while the port is off, because the output might not be taken
  PoeConfig off = file.config;
  off.port[port].adminEnable = 0;
  lock.stamp(CycleLock::now());
  const Clock::time_point start = Clock::now();
  applyConfig(off, {milliseconds(1000), signals.descriptor()});
  const std::string doubt = waitUntilOff(port, start, signals.descriptor());
  try {
    sendConfig(file.config, {ON_LIMIT});
  } catch (const QueueError& error) {
    throw QueueError(label + " is left off: " + error.what() + "; 'poectl apply " + path +
                     "' switches it on");
  }
  if (!doubt.empty()) {
    std::fprintf(stderr, "poectl: %s is on again, but was not seen to be off: %s\n", label.c_str(),
                 doubt.c_str());
    return 1;
  }
  const std::chrono::duration<double> seconds = Clock::now() - start;
  std::printf("%s: on again after %.1f s\n", label.c_str(), seconds.count());
  printMainProcessNote();
  return 0;
}
