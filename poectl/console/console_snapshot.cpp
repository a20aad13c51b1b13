#include "poectl/console/console_snapshot.h"

#include "poectl/status/timestamp.h"

#include <algorithm>

namespace {

// The exchanges of one snapshot, which share a deadline.
class Exchanges {
public:
  explicit Exchanges(const ConsoleWait& wait) : m_deadline(Clock::now() + wait.limit), m_stop(wait.stop) {}

  std::string ask(const std::string& words) const {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_deadline - Clock::now());
    return askConsole(consoleLine(words), {std::max(left, std::chrono::milliseconds(0)), m_stop});
  }

  std::string ask(const char* words, unsigned port) const {
    return ask(words + (" " + std::to_string(port)));
  }

private:
  using Clock = std::chrono::steady_clock;

  const Clock::time_point m_deadline;
  const int m_stop;
};

// The first report with transfers is "info": what it says of the driver is what the last cycle left.
ConsoleReplies askAll(SnapshotReports reports, const Exchanges& console) {
  ConsoleReplies replies{parseDevice(console.ask("device")), {}, {}, {}};
  for (unsigned port = 0; port < POE_PORTS; port++) {
    replies.channels[port] = parseChannel(console.ask("channel", port), port);
  }
  if (reports == SnapshotReports::ALL) {
    replies.info = parseInfo(console.ask("info"));
    replies.ports.emplace();
    for (unsigned port = 0; port < POE_PORTS; port++) {
      (*replies.ports)[port] = parsePoePort(console.ask("poeport", port), port);
    }
  }
  return replies;
}

void addInfo(Snapshot& snapshot, const InfoReport& info, const DeviceReport& device) {
  snapshot.transfers += INFO_TRANSFERS;
  snapshot.status.mainPower = info.bankLimit;
  snapshot.status.mainConsumption = info.consumption;
  snapshot.status.mainOperStatus = info.state != "ACTIVE"             ? MainOperStatus::NOT_CHECKED
                                   : info.busError && device.devError ? MainOperStatus::UNREACHABLE
                                                                      : MainOperStatus::RUNNING;
}

void addPort(Snapshot& snapshot, unsigned port, const PoePortReport& report) {
  snapshot.transfers += POEPORT_TRANSFERS;
  addSettings(snapshot.details[port], report);
  PoePortStatus& status = snapshot.status.port[port];
  status.operStatus = report.operStatus;
  status.powerClassification = report.classification;
  for (unsigned counter = 0; counter < STATUS_COUNTERS; counter++) {
    status.*STATUS_COUNTER[counter].member = report.counters[counter];
  }
  if (report.measurements) {
    status.powerConsumption = report.measurements->consumption;
    snapshot.details[port].voltageDv = report.measurements->portVoltage;
    snapshot.details[port].currentMa = report.measurements->current;
  } else {
    snapshot.missing.insert("powerConsumption");
  }
}

void addWithoutTransfers(Snapshot& snapshot, const ConsoleReplies& replies) {
  snapshot.status.deviceTemperature = replies.device.temperature;
  snapshot.status.thermalShutdown = replies.device.thermalShutdown ? 1 : 0;
  snapshot.status.devError = replies.device.devError ? 1 : 0;
  for (unsigned port = 0; port < POE_PORTS; port++) {
    const ChannelReport& channel = replies.channels[port];
    snapshot.status.port[port].detectionStatus = channel.detection;
    snapshot.status.port[port].powerClassification = channel.classification;
    snapshot.details[port].powered = channel.enabled;
    snapshot.details[port].faults = faultsOf(channel);
  }
}

} // namespace

Snapshot snapshotOf(const ConsoleReplies& replies) {
  Snapshot snapshot;
  snapshot.source = Snapshot::Source::CONSOLE;
  addWithoutTransfers(snapshot, replies);
  if (replies.info) {
    addInfo(snapshot, *replies.info, replies.device);
  } else {
    snapshot.missing.insert({"mainPower", "mainOperStatus", "mainConsumption"});
  }
  if (replies.ports) {
    for (unsigned port = 0; port < POE_PORTS; port++) {
      addPort(snapshot, port, (*replies.ports)[port]);
    }
  } else {
    snapshot.missing.insert({"operStatus", "powerConsumption"});
    for (const StatusField& counter : STATUS_COUNTER) {
      snapshot.missing.insert(counter.name);
    }
  }
  if (!snapshot.knows(*portField("powerConsumption"))) { // for one port: then it is missing for all
    for (PoePortStatus& port : snapshot.status.port) {
      port.powerConsumption = 0;
    }
  }
  return snapshot;
}

Snapshot takeSnapshot(SnapshotReports reports, const ConsoleWait& wait) {
  const Snapshot::Time begin = currentTime();
  Snapshot snapshot = snapshotOf(askAll(reports, Exchanges(wait)));
  snapshot.begin = begin;
  snapshot.end = currentTime();
  return snapshot;
}
