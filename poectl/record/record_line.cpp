#include "poectl/record/record_line.h"

#include "poectl/status/status_export.h"
#include "poectl/status/timestamp.h"
#include "text/text.h"

#include <limits>
#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::json;

constexpr std::chrono::milliseconds MAX_PERIOD{1'000'000'000'000}; // as "--every" takes it

[[noreturn]] void refuse(const std::string& where, const Json& value, const std::string& accepted) {
  throw RecordLineError(where + " is " + text::quoted(value.dump()) + "; accepted is " + accepted);
}

std::string keyName(const std::string& owner, const char* key) {
  return owner + "\"" + key + "\"";
}

// Null when the key is not there.
const Json* find(const Json& object, const char* key) {
  const auto found = object.find(key);
  return found == object.end() ? nullptr : &*found;
}

const Json& demanded(const Json& object, const char* key) {
  const Json* const value = find(object, key);
  if (value == nullptr) {
    throw RecordLineError(keyName("", key) + " is missing");
  }
  return *value;
}

// Numbers above the range of the result are given as its largest: no field holds that.
std::optional<std::int64_t> wholeNumber(const Json& value) {
  constexpr auto MAX = std::numeric_limits<std::int64_t>::max();
  if (value.is_number_unsigned()) {
    return static_cast<std::int64_t>(std::min<std::uint64_t>(value.get<std::uint64_t>(), MAX));
  }
  return value.is_number_integer() ? std::optional(value.get<std::int64_t>()) : std::nullopt;
}

std::uint32_t unsignedNumber(const std::string& where, const Json& value) {
  std::uint32_t number = 0;
  const auto whole = wholeNumber(value);
  if (!whole || !StatusField::assign(number, *whole)) {
    refuse(where, value, "a whole number of 0 to 4294967295");
  }
  return number;
}

void readField(const std::string& owner, const Json& object, const StatusField& field, unsigned port,
               Snapshot& snapshot) {
  const Json* const value = find(object, field.name);
  if (value == nullptr) {
    snapshot.missing.insert(field.name);
    return;
  }
  const auto number = wholeNumber(*value);
  if (!number || !field.write(snapshot.status, port, *number)) {
    refuse(keyName(owner, field.name), *value, "a whole number in the range of the field");
  }
}

void readValue(const std::string& where, const Json& value, std::uint32_t& result) {
  result = unsignedNumber(where, value);
}

void readValue(const std::string& where, const Json& value, bool& result) {
  if (!value.is_boolean()) {
    refuse(where, value, "true or false");
  }
  result = value.get<bool>();
}

void readValue(const std::string& where, const Json& value, std::string& result) {
  if (!value.is_string() || value.get_ref<const std::string&>().size() > MAX_RECORD_TEXT) {
    refuse(where, value, "a text of at most " + std::to_string(MAX_RECORD_TEXT) + " bytes");
  }
  result = value.get<std::string>();
}

template <typename Value>
void readDetail(const std::string& owner, const Json& object, const char* key, std::optional<Value>& detail) {
  if (const Json* const value = find(object, key)) {
    readValue(keyName(owner, key), *value, detail.emplace());
  }
}

void readPort(const Json& json, unsigned port, Snapshot& snapshot) {
  const std::string owner = "port " + std::to_string(port) + ": ";
  if (!json.is_object()) {
    refuse("port " + std::to_string(port), json, "an object");
  }
  forEachPortField([&](const StatusField& field) { readField(owner, json, field, port, snapshot); });
  std::optional<std::string> name;
  readDetail(owner, json, "name", name);
  if (name && name->empty()) {
    refuse(keyName(owner, "name"), "", "a text of at least 1 byte");
  }
  snapshot.names[port] = name.value_or("");
  PortDetails& details = snapshot.details[port];
  readDetail(owner, json, "enabled", details.enabled);
  readDetail(owner, json, "limit_w", details.limitW);
  readDetail(owner, json, "priority", details.priority);
  readDetail(owner, json, "voltage_dv", details.voltageDv);
  readDetail(owner, json, "current_ma", details.currentMa);
  readDetail(owner, json, "powered", details.powered);
  readDetail(owner, json, "faults", details.faults);
}

void readPorts(const Json& ports, Snapshot& snapshot) {
  if (!ports.is_array() || ports.size() != POE_PORTS) {
    refuse(keyName("", "port"), ports, "an array of " + std::to_string(POE_PORTS) + " objects");
  }
  for (unsigned port = 0; port < POE_PORTS; port++) {
    readPort(ports[port], port, snapshot);
  }
  forEachPortField([&](const StatusField& field) {
    for (unsigned port = 0; port < POE_PORTS; port++) {
      if (!snapshot.knows(field) && ports[port].contains(field.name)) {
        throw RecordLineError(keyName("", field.name) +
                              " is there for some ports only; accepted is all or none");
      }
    }
  });
}

void readHead(const Json& json, Snapshot& snapshot) {
  const Json& version = demanded(json, "version");
  if (version != SNAPSHOT_VERSION) {
    refuse(keyName("", "version"), version, std::to_string(SNAPSHOT_VERSION));
  }
  const Json& time = demanded(json, "time");
  const auto end = time.is_string() ? timeFromIso(time.get_ref<const std::string&>()) : std::nullopt;
  if (!end) {
    refuse(keyName("", "time"), time, "a time such as 2024-05-06T07:08:09.123Z");
  }
  const Json& word = demanded(json, "source");
  const auto source = word.is_string() ? sourceOf(word.get_ref<const std::string&>()) : std::nullopt;
  if (!source) {
    refuse(keyName("", "source"), word, "queue or console");
  }
  snapshot.source = *source;
  snapshot.end = *end;
  snapshot.transfers = unsignedNumber(keyName("", "transfers"), demanded(json, "transfers"));
  snapshot.begin =
      *end - std::chrono::milliseconds(unsignedNumber(keyName("", "span_ms"), demanded(json, "span_ms")));
  std::optional<std::uint32_t> number;
  readDetail("", json, "message", number);
  snapshot.number = number.value_or(0);
  if (const Json* const period = find(json, "period_ms")) {
    const auto milliseconds = wholeNumber(*period);
    if (!milliseconds || *milliseconds < 1 || *milliseconds > MAX_PERIOD.count()) {
      refuse(keyName("", "period_ms"), *period,
             "a whole number of 1 to " + std::to_string(MAX_PERIOD.count()));
    }
    snapshot.period = std::chrono::milliseconds(*milliseconds);
  }
}

} // namespace

Snapshot parseRecord(const std::string& line) {
  const Json json = Json::parse(line, nullptr, false);
  if (!json.is_object()) { // one that is not well-formed is of a type of its own
    throw RecordLineError("no record; accepted is a JSON object of 'poectl watch --record'");
  }
  Snapshot snapshot;
  readHead(json, snapshot);
  for (const StatusField& field : CHIP_FIELDS) {
    readField("", json, field, 0, snapshot);
  }
  readPorts(demanded(json, "port"), snapshot);
  if (snapshot.source == Snapshot::Source::QUEUE && !snapshot.missing.empty()) {
    throw RecordLineError(keyName("", snapshot.missing.begin()->c_str()) +
                          " is missing; a record of the queue has every field");
  }
  return snapshot;
}
