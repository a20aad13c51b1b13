#include "poectl/status/status_export.h"

#include "poectl/status/status_field.h"
#include "poectl/status/timestamp.h"
#include "text/text.h"

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

std::string originMetrics(const Snapshot& snapshot) {
  const std::string source = std::string("{source=\"") + sourceWord(snapshot.source) + "\"} ";
  const std::chrono::duration<double> span = snapshot.end - snapshot.begin;
  return head("poe_snapshot_transfers", "Transfers on the chip's bus that these values cost.", "gauge") +
         "poe_snapshot_transfers" + source + std::to_string(snapshot.transfers) + "\n" +
         head("poe_snapshot_span_seconds", "Time in which these values were read.", "gauge") +
         "poe_snapshot_span_seconds" + source + text::formatted("%.3f", span.count()) + "\n";
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
  return text;
}
