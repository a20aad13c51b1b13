#include "poectl/status/snapshot.h"

#include "components/PoeDriver/power_limits.h"
#include "poectl/status/timestamp.h"
#include "text/text.h"

const char* sourceWord(Snapshot::Source source) {
  return source == Snapshot::Source::QUEUE ? "queue" : "console";
}

std::optional<Snapshot::Source> sourceOf(const std::string& word) {
  for (const auto source : {Snapshot::Source::QUEUE, Snapshot::Source::CONSOLE}) {
    if (word == sourceWord(source)) {
      return source;
    }
  }
  return {};
}

Snapshot snapshotOfMessage(unsigned long number, const PoeStatus& status) {
  Snapshot snapshot;
  snapshot.number = number;
  snapshot.begin = snapshot.end = currentTime();
  snapshot.status = status;
  return snapshot;
}

PortDetails settingsOf(const PoePortConfig& config) {
  PortDetails details;
  details.enabled = config.adminEnable != 0;
  details.limitW = effectivePortLimitMw(config.powerLimit) / 1000;
  details.priority = config.priority;
  return details;
}

void addSettings(Snapshot& snapshot, const PoeConfig& config) {
  for (unsigned port = 0; port < POE_PORTS; port++) {
    snapshot.details[port] = settingsOf(config.port[port]);
  }
}

std::string originText(const Snapshot& snapshot) {
  const bool isMessage = snapshot.source == Snapshot::Source::QUEUE;
  std::string text = isMessage ? "message" : "snapshot";
  text += snapshot.number == 0 ? "" : " " + std::to_string(snapshot.number);
  text += std::string(" from the ") + sourceWord(snapshot.source);
  if (isMessage) {
    return text;
  }
  const auto span = std::chrono::ceil<std::chrono::milliseconds>(snapshot.end - snapshot.begin);
  text += snapshot.transfers == 0 ? ", no transfers"
                                  : text::formatted(", %u transfers a snapshot", snapshot.transfers);
  return text + ", taken within " + std::to_string(span.count()) + " ms";
}
