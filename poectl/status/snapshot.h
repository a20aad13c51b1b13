// One look at the card: the status record, where it comes from, and what else its source knows.
#pragma once

#include "components/PoeDriver/poe_messages.h"
#include "poectl/status/port_label.h"
#include "poectl/status/status_field.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <set>
#include <string>

// What the status message does not have of a port; each is missing when it is not known.
struct PortDetails {
  std::optional<bool> enabled;            // by the configuration
  std::optional<std::uint32_t> limitW;    // W; the service cuts mW to whole W
  std::optional<std::uint32_t> priority;  // as configured: 1 is served first
  std::optional<std::uint32_t> voltageDv; // 0.1 V
  std::optional<std::uint32_t> currentMa; // mA
  std::optional<bool> powered;            // the chip has switched the port's power on
  std::optional<std::string> faults;      // that the chip reports, in words; empty: none
};

// What the console's reports cost in transfers on the chip's bus, also when one of them fails. "device" and
// "channel" make none.
constexpr unsigned INFO_TRANSFERS = 9;
constexpr unsigned POEPORT_TRANSFERS = 10;
// A snapshot from the console with all reports.
constexpr unsigned SNAPSHOT_TRANSFERS = INFO_TRANSFERS + POE_PORTS * POEPORT_TRANSFERS;

// A plain value; for use from any thread that owns it.
struct Snapshot {
  enum class Source {
    QUEUE,   // a status message: one instant
    CONSOLE, // several reports, between `begin` and `end`
  };
  using Time = std::chrono::system_clock::time_point; // of currentTime()

  // A port's field is missing for all ports or for none.
  bool knows(const StatusField& field) const { return missing.count(field.name) == 0; }

  Source source = Source::QUEUE;
  unsigned long number = 0; // of the message or snapshot, from 1; 0: it has none
  Time begin;
  Time end;                            // equals `begin` for a status message
  std::chrono::milliseconds period{0}; // until another one usually comes; 0: not known
  unsigned transfers = 0;              // on the chip's bus, which the snapshot cost
  PoeStatus status{};
  std::set<std::string> missing; // names of the fields of `status` that the source does not know; they are 0
  std::array<PortDetails, POE_PORTS> details;
  PortNames names;
};

// "queue" or "console".
const char* sourceWord(Snapshot::Source source);

// The source of such a word; nothing for another text.
std::optional<Snapshot::Source> sourceOf(const std::string& word);

// A status message that has come now. `number` counts from 1.
Snapshot snapshotOfMessage(unsigned long number, const PoeStatus& status);

// Enabled, limit and priority as the service understands a configuration.
PortDetails settingsOf(const PoePortConfig& config);
void addSettings(Snapshot& snapshot, const PoeConfig& config);

// Where a snapshot comes from, what it cost and its span: "snapshot 3 from the console, 49 transfers a
// snapshot, taken within 12 ms".
std::string originText(const Snapshot& snapshot);
