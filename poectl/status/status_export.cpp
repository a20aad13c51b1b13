#include "poectl/status/status_export.h"

#include "poectl/status/status_field.h"
#include "poectl/status/timestamp.h"
#include "text/text.h"

#include <cstdlib>
#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::ordered_json;

constexpr int INDENT = 2;

// A field under its name, and after a code its word.
void addField(Json& json, const StatusField& field, const PoeStatus& status, unsigned port) {
  const std::int64_t value = field.read(status, port);
  json[field.name] = value;
  if (field.kind == StatusField::Kind::WORD) {
    json[std::string(field.name) + "Word"] = field.word(static_cast<std::uint32_t>(value));
  }
}

template <typename Value>
void addKnown(Json& json, const char* key, const std::optional<Value>& value) {
  if (value) {
    json[key] = *value;
  }
}

Json portJson(const Snapshot& snapshot, unsigned port) {
  Json json = Json::object();
  if (!snapshot.names[port].empty()) {
    json["name"] = snapshot.names[port];
  }
  forEachPortField([&](const StatusField& field) {
    if (snapshot.knows(field)) {
      addField(json, field, snapshot.status, port);
    }
  });
  const PortDetails& details = snapshot.details[port];
  addKnown(json, "enabled", details.enabled);
  addKnown(json, "limit_w", details.limitW);
  addKnown(json, "priority", details.priority);
  addKnown(json, "voltage_dv", details.voltageDv);
  addKnown(json, "current_ma", details.currentMa);
  addKnown(json, "powered", details.powered);
  addKnown(json, "faults", details.faults);
  return json;
}

Json jsonOf(const Snapshot& snapshot) {
  const auto span = std::chrono::duration_cast<std::chrono::milliseconds>(snapshot.end - snapshot.begin);
  Json json = {{"version", SNAPSHOT_VERSION}, {"time", isoTime(snapshot.end)}};
  if (snapshot.number != 0) {
    json["message"] = snapshot.number;
  }
  json["source"] = sourceWord(snapshot.source);
  json["transfers"] = snapshot.transfers;
  json["span_ms"] = span.count();
  if (snapshot.period.count() != 0) {
    json["period_ms"] = snapshot.period.count();
  }
  for (const StatusField& field : CHIP_FIELDS) {
    if (snapshot.knows(field)) {
      addField(json, field, snapshot.status, 0);
    }
  }
  Json& ports = json["port"] = Json::array();
  for (unsigned port = 0; port < POE_PORTS; port++) {
    ports.push_back(portJson(snapshot, port));
  }
  return json;
}

std::string head(const char* metric, const char* help, const char* type) {
  return std::string("# HELP ") + metric + " " + help + "\n# TYPE " + metric + " " + type + "\n";
}

std::string head(const StatusField& field) {
  return head(field.metric, field.help, field.kind == StatusField::Kind::COUNTER ? "counter" : "gauge");
}

// A metric of the snapshot itself, from milliseconds.
std::string timeMetric(const Snapshot& snapshot, const char* metric, const char* help,
                       std::chrono::milliseconds time) {
  const auto size = static_cast<long long>(std::abs(time.count()));
  return head(metric, help, "gauge") + metric + "{source=\"" + sourceWord(snapshot.source) + "\"} " +
         text::formatted("%s%lld.%03lld\n", time.count() < 0 ? "-" : "", size / 1000, size % 1000);
}

std::string originMetrics(const Snapshot& snapshot) {
  const auto milliseconds = [](auto time) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(time);
  };
  std::string text =
      head("poe_snapshot_transfers", "Transfers on the chip's bus that these values cost.", "gauge") +
      "poe_snapshot_transfers{source=\"" + sourceWord(snapshot.source) + "\"} " +
      std::to_string(snapshot.transfers) + "\n";
  text += timeMetric(snapshot, "poe_snapshot_span_seconds", "Time in which these values were read.",
                     milliseconds(snapshot.end - snapshot.begin));
  text += timeMetric(snapshot, "poe_snapshot_timestamp_seconds",
                     "When these values were read, since 1970-01-01 00:00 UTC.",
                     milliseconds(snapshot.end.time_since_epoch()));
  if (snapshot.period.count() != 0) {
    text += timeMetric(snapshot, "poe_snapshot_period_seconds", "Usual time between two snapshots.",
                       snapshot.period);
  }
  return text;
}

// "{port="1",name="camera"} "
std::string portLabels(unsigned port, const PortNames& names) {
  std::string labels = "{port=\"" + std::to_string(port) + "\"";
  if (!names[port].empty()) {
    labels += ",name=\"";
    for (const char character : names[port]) {
      labels += character == '"' || character == '\\' ? "\\" : "";
      labels += character;
    }
    labels += "\"";
  }
  return labels + "} ";
}

std::optional<std::uint32_t> asNumber(std::optional<bool> flag) {
  return flag ? std::optional<std::uint32_t>(*flag ? 1 : 0) : std::nullopt;
}

// A detail of a port as a metric.
struct DetailMetric {
  const char* metric;
  const char* help;
  std::optional<std::uint32_t> (*read)(const PortDetails& details);
  unsigned divisor; // from the detail's unit to the metric's: 1, 10 or 1000
};

const DetailMetric DETAIL_METRICS[] = {
    {"poe_port_enabled", "1 when the configuration enables the port.",
     [](const PortDetails& details) { return asNumber(details.enabled); }, 1},
    {"poe_port_limit_watts", "Power limit of the port by the configuration.",
     [](const PortDetails& details) { return details.limitW; }, 1},
    {"poe_port_priority", "Priority of the port by the configuration: 1 is served first.",
     [](const PortDetails& details) { return details.priority; }, 1},
    {"poe_port_voltage_volts", "Voltage at the port.",
     [](const PortDetails& details) { return details.voltageDv; }, 10},
    {"poe_port_current_amperes", "Current that the port takes.",
     [](const PortDetails& details) { return details.currentMa; }, 1000},
    {"poe_port_powered", "1 when the chip has switched the power of the port on.",
     [](const PortDetails& details) { return asNumber(details.powered); }, 1},
};

// 111 with a divisor of 1000 is "0.111".
std::string decimal(std::uint32_t value, unsigned divisor) {
  const std::string fraction = std::to_string(divisor + value % divisor).substr(1);
  return std::to_string(value / divisor) + (fraction.empty() ? "" : "." + fraction);
}

// Empty when no port has the detail.
std::string detailMetric(const Snapshot& snapshot, const DetailMetric& detail) {
  std::string text;
  for (unsigned port = 0; port < POE_PORTS; port++) {
    if (const auto value = detail.read(snapshot.details[port])) {
      text += detail.metric + portLabels(port, snapshot.names) + decimal(*value, detail.divisor) + "\n";
    }
  }
  return text.empty() ? "" : head(detail.metric, detail.help, "gauge") + text;
}

} // namespace

std::string snapshotJsonLine(const Snapshot& snapshot) {
  return jsonOf(snapshot).dump() + "\n";
}

std::string snapshotJson(const Snapshot& snapshot) {
  return jsonOf(snapshot).dump(INDENT) + "\n";
}

std::string snapshotPrometheus(const Snapshot& snapshot) {
  std::string text = originMetrics(snapshot);
  const auto value = [&](const StatusField& field, unsigned port) {
    return std::to_string(field.read(snapshot.status, port)) + "\n";
  };
  for (const StatusField& field : CHIP_FIELDS) {
    if (field.metric != nullptr && snapshot.knows(field)) {
      text += head(field) + field.metric + " " + value(field, 0);
    }
  }
  forEachPortField([&](const StatusField& field) {
    text += snapshot.knows(field) ? head(field) : "";
    for (unsigned port = 0; port < POE_PORTS && snapshot.knows(field); port++) {
      text += field.metric + portLabels(port, snapshot.names) + value(field, port);
    }
  });
  for (const DetailMetric& detail : DETAIL_METRICS) {
    text += detailMetric(snapshot, detail);
  }
  return text;
}

std::string upMetric(bool isUp) {
  return head("poe_up", "1 while snapshots come, 0 when the last one is stale or there is none.", "gauge") +
         "poe_up " + (isUp ? "1" : "0") + "\n";
}

std::string ageMetric(const Snapshot& snapshot, std::chrono::milliseconds age) {
  return timeMetric(snapshot, "poe_snapshot_age_seconds", "Age of these values when they were written here.",
                    age);
}
