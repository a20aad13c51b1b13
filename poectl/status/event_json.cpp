#include "poectl/status/event_json.h"

#include "poectl/status/status_field.h"
#include "poectl/status/status_text.h"

#include <nlohmann/json.hpp>

namespace {

const char* kindWord(EventKind kind) {
  switch (kind) {
  case EventKind::STATE:
    return "state";
  case EventKind::COUNTER:
    return "counter";
  case EventKind::CHIP_LOST:
    return "chipLost";
  case EventKind::CHIP_RECOVERED:
    return "chipRecovered";
  case EventKind::THERMAL_SHUTDOWN:
    return "thermalShutdown";
  case EventKind::THERMAL_SHUTDOWN_OVER:
    return "thermalShutdownOver";
  case EventKind::BUS_ERROR:
    return "busError";
  case EventKind::BUS_ERROR_OVER:
    return "busErrorOver";
  case EventKind::SERVICE_RESTARTED:
    return "serviceRestarted";
  case EventKind::STALE:
    return "stale";
  case EventKind::RESUMED:
    return "resumed";
  }
  return "?";
}

} // namespace

std::string eventJsonLine(const std::string& time, unsigned long message, const StatusEvent& event,
                          Snapshot::Source source, const PortNames& names) {
  nlohmann::ordered_json json = {{"time", time}, {"message", message}, {"event", kindWord(event.kind)}};
  const bool isOfPort = event.kind == EventKind::STATE || event.kind == EventKind::COUNTER;
  if (isOfPort) {
    json["port"] = event.port;
    if (!names[event.port].empty()) {
      json["name"] = names[event.port];
    }
  }
  if (event.kind == EventKind::STATE) {
    json["from"] = operStatusWord(event.from);
    json["to"] = operStatusWord(event.to);
  } else if (event.kind == EventKind::COUNTER) {
    json["counter"] = STATUS_COUNTER[event.counter].name;
    json["increment"] = event.to - event.from;
    json["value"] = event.to;
  } else if (event.kind == EventKind::STALE || event.kind == EventKind::RESUMED) {
    json["silenceSeconds"] = static_cast<double>(event.silence.count()) / 1000;
  }
  if (source == Snapshot::Source::CONSOLE) {
    json["source"] = sourceWord(source);
  }
  return json.dump() + "\n";
}
