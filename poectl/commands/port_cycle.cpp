#include "poectl/commands/port_cycle.h"

#include "poectl/command_line.h"
#include "poectl/commands/apply.h"
#include "poectl/console/off_watch.h"
#include "poectl/host/end_signals.h"
#include "poectl/host/note.h"
#include "poectl/service/cycle_lock.h"

#include <csignal>
#include <cstdio>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// A PD needs a moment to lose its charge. The console shows what the service's last cycle read: after this
// time, that is the port as it is since the change.
constexpr milliseconds MIN_OFF{2000};
constexpr milliseconds MAX_OFF{10000};
// With the 0.8 s that a signal leaves, even when the queue has no room.
constexpr milliseconds ON_LIMIT{500};

double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

void switchOn(const PoeConfig& config, const std::string& label, const std::string& path) {
  try {
    sendConfig(config, {ON_LIMIT});
  } catch (const QueueError& error) {
    throw QueueError(label + " is left off: " + error.what() + "; 'poectl apply " + path +
                     "' switches it on");
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
  // Without the console nothing is switched off.
  const bool hadPower = hasPower(port, MAX_OFF, signals.descriptor());
  const bool hasMainProcess = printMainProcessNote();
  std::printf("%s: off for at least 2 s\n", label.c_str());
  std::fflush(stdout); // nothing is written while the port is off, because the output might not be taken
  PoeConfig off = file.config;
  off.port[port].adminEnable = 0;
  lock.stamp(CycleLock::now());
  const Clock::time_point start = Clock::now();
  applyConfig(off, {milliseconds(1000), signals.descriptor()});
  const OffWatch watch =
      watchOff(port, start, {MIN_OFF, MAX_OFF, hasMainProcess && hadPower, signals.descriptor()});
  if (watch.end == OffWatch::End::BACK) { // the service has the main process's configuration: it stays
    std::printf("%s: it was off; %s has switched it on again after %.1f s\n", label.c_str(),
                mainProcess().c_str(), secondsSince(start));
    return 0;
  }
  switchOn(file.config, label, path);
  if (watch.end == OffWatch::End::UNKNOWN) {
    printNote(label + " is on again, but was not seen to be off for 2 s: " + watch.doubt);
    return 1;
  }
  std::printf("%s: on again after %.1f s\n", label.c_str(), secondsSince(start));
  return 0;
}
