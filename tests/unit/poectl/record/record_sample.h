// Snapshots for tests of records.
#pragma once

#include "poectl/status/snapshot.h"
#include "poectl/status/status_export.h"

#include <random>
#include <string>

constexpr Snapshot::Time RECORD_START{
    std::chrono::milliseconds(1'700'000'000'123)}; // 2023-11-14 22:13:20 UTC

// A healthy message of the queue, this long after RECORD_START.
inline Snapshot recordedMessage(std::chrono::milliseconds after) {
  Snapshot snapshot;
  snapshot.begin = snapshot.end = RECORD_START + after;
  snapshot.period = std::chrono::seconds(1);
  snapshot.status.mainOperStatus = 1;
  snapshot.status.mainPower = 100;
  for (PoePortStatus& port : snapshot.status.port) {
    port.operStatus = 2;
  }
  return snapshot;
}

// Any values that a snapshot can have.
class RandomSnapshots {
public:
  explicit RandomSnapshots(unsigned seed) : m_engine(seed) {}

  Snapshot next() {
    Snapshot snapshot;
    snapshot.source = chance() ? Snapshot::Source::QUEUE : Snapshot::Source::CONSOLE;
    snapshot.end = Snapshot::Time(std::chrono::milliseconds(number() * std::int64_t{1000} + number() % 1000));
    snapshot.begin = snapshot.end - std::chrono::milliseconds(number());
    snapshot.transfers = number();
    snapshot.number = chance() ? number() : 0;
    snapshot.period = std::chrono::milliseconds(chance() ? number() : 0);
    for (const StatusField& field : CHIP_FIELDS) {
      if (!isMissing(snapshot, field)) {
        field.write(snapshot.status, 0, static_cast<std::int64_t>(number() % 256));
      }
    }
    snapshot.status.deviceTemperature =
        snapshot.knows(CHIP_FIELDS[4]) ? static_cast<std::int32_t>(number()) : 0;
    forEachPortField([&](const StatusField& field) {
      const bool missing = isMissing(snapshot, field);
      for (PoePortStatus& port : snapshot.status.port) {
        port.*field.member = missing ? 0 : number();
      }
    });
    for (unsigned port = 0; port < POE_PORTS; port++) {
      addDetails(snapshot, port);
    }
    return snapshot;
  }

private:
  std::uint32_t number() { return static_cast<std::uint32_t>(m_engine()); }
  bool chance() { return number() % 2 == 0; }

  bool isMissing(Snapshot& snapshot, const StatusField& field) {
    return snapshot.source == Snapshot::Source::CONSOLE && chance() &&
           snapshot.missing.insert(field.name).second;
  }

  template <typename Value>
  void maybe(std::optional<Value>& place, const Value& value) {
    if (chance()) {
      place = value;
    }
  }

  void addDetails(Snapshot& snapshot, unsigned port) {
    PortDetails& details = snapshot.details[port];
    maybe(details.enabled, chance());
    maybe(details.limitW, number());
    maybe(details.priority, number());
    maybe(details.voltageDv, number());
    maybe(details.currentMa, number());
    maybe(details.powered, chance());
    maybe(details.faults, std::string("FET error, \"hot\" MOSFET"));
    snapshot.names[port] = chance() ? "caf\xC3\xA9 \\ \n" + std::to_string(number()) : "";
  }

  std::mt19937 m_engine;
};
