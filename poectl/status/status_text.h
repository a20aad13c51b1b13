// Snapshots as text for people.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

struct Snapshot;
struct StatusField;

// The word for a PoePortStatus::operStatus; "?" for a code that has none.
const char* operStatusWord(std::uint32_t operStatus);

// The class for a PoePortStatus::powerClassification: "0" to "4", "none", "?" for a code that has none.
const char* classWord(std::uint32_t powerClassification);

// The same for narrow columns: "-" for none.
const char* shortClassWord(std::uint32_t powerClassification);

// The word for a PoeStatus::mainOperStatus; "?" for a code that has none.
const char* mainOperStatusWord(std::uint32_t mainOperStatus);

// The word for a PoePortStatus::detectionStatus; "?" for a code that has none.
const char* detectionWord(std::uint32_t detection);

// The code of such a word; nothing for another text.
std::optional<std::uint32_t> detectionOf(const std::string& word);

// A field's value as a number, or a number; "-" when it is not known.
std::string knownNumber(const Snapshot& snapshot, const StatusField& field, unsigned port = 0);
std::string knownText(const std::optional<std::uint32_t>& number);

// The word of a port's operStatus. When that is missing, whether the port has power; "-" when nobody knows.
std::string stateText(const Snapshot& snapshot, unsigned port);

// Volts with one decimal; "-" for none.
std::string voltageText(const std::optional<std::uint32_t>& deciVolts);

// The time of a snapshot and its lines, and a blank line: one of several.
std::string snapshotBlock(const Snapshot& snapshot);

// A snapshot as lines: its origin, the whole chip, a table with a line for each port, and what is missing.
// The administrator's settings are not part of a status message; they come from the snapshot's details.
std::string snapshotText(const Snapshot& snapshot);
