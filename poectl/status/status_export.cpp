#include "poectl/status/status_export.h"

#include "poectl/status/status_field.h"
#include "poectl/status/timestamp.h"

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

Json portsJson(const PoeStatus& status) {
  Json ports = Json::array();
  for (unsigned port = 0; port < POE_PORTS; port++) {
    Json json = Json::object();
    forEachPortField([&](const StatusField& field) { addField(json, field, status, port); });
    ports.push_back(json);
  }
  return ports;
}

void addStatus(Json& json, const PoeStatus& status) {
  for (const StatusField& field : CHIP_FIELDS) {
    addField(json, field, status, 0);
  }
  json["port"] = portsJson(status);
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
  Json json = {{"version", SNAPSHOT_VERSION},
               {"time", isoTime(snapshot.end)},
               {"source", sourceWord(snapshot.source)},
               {"transfers", snapshot.transfers},
               {"span_ms", span.count()}};
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

std::string head(const StatusField& field) {
  const std::string type = field.kind == StatusField::Kind::COUNTER ? "counter" : "gauge";
  return std::string("# HELP ") + field.metric + " " + field.help + "\n# TYPE " + field.metric + " " + type +
         "\n";
}

} // namespace

std::string statusJson(const PoeStatus& status) {
  Json json = Json::object();
  addStatus(json, status);
  return json.dump(INDENT) + "\n";
}

std::string statusJsonLine(const std::string& time, unsigned long number, const PoeStatus& status) {
  Json json = {{"time", time}, {"message", number}};
  addStatus(json, status);
  return json.dump() + "\n";
}

std::string snapshotJsonLine(const Snapshot& snapshot) {
  return jsonOf(snapshot).dump() + "\n";
}

std::string snapshotJson(const Snapshot& snapshot) {
  return jsonOf(snapshot).dump(INDENT) + "\n";
}

std::string statusPrometheus(const PoeStatus& status) {
  std::string text;
  for (const StatusField& field : CHIP_FIELDS) {
    if (field.metric != nullptr) {
      text += head(field) + field.metric + " " + std::to_string(field.read(status, 0)) + "\n";
    }
  }
  forEachPortField([&](const StatusField& field) {
    text += head(field);
    for (unsigned port = 0; port < POE_PORTS; port++) {
      text += std::string(field.metric) + "{port=\"" + std::to_string(port) + "\"} " +
              std::to_string(field.read(status, port)) + "\n";
    }
  });
  return text;
}
