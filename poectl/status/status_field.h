// The fields of a status message: one table from which text, JSON, metrics, events and scenarios take names,
// words and values. For use from any thread.
#pragma once

#include "components/PoeDriver/poe_messages.h"
#include "poectl/status/status_text.h"

#include <array>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>

// Access to a field of the whole chip.
struct ChipMember {
  std::int64_t (*read)(const PoeStatus& status);
  bool (*write)(PoeStatus& status, std::int64_t value); // false: the field cannot hold the value
};

struct StatusField {
  enum class Kind {
    NUMBER,
    COUNTER, // a number whose increase can be asked for, modulo 2^32
    WORD,    // a code, written as its word
  };

  const char* name; // of the record's field, and key in JSON
  Kind kind;
  const char* metric; // name for Prometheus, with its unit; null: no metric
  const char* help;   // what it is, one sentence; null: no metric
  // One of these two: where it stands in a port's record, or in the chip's.
  std::uint32_t PoePortStatus::*member = nullptr;
  const ChipMember* chip = nullptr;
  const char* (*word)(std::uint32_t code) = nullptr; // of Kind::WORD only; "?" for a code that has none
  // Of Kind::COUNTER only: how a column calls it, and in three letters.
  const char* heading = nullptr;
  const char* label = nullptr;

  // A field of the whole chip ignores the port.
  std::int64_t read(const PoeStatus& status, unsigned port) const {
    return member != nullptr ? status.port[port].*member : chip->read(status);
  }

  // False when the field cannot hold the value; `status` is then unchanged.
  bool write(PoeStatus& status, unsigned port, std::int64_t value) const {
    return member != nullptr ? assign(status.port[port].*member, value) : chip->write(status, value);
  }

  template <typename Number>
  static bool assign(Number& place, std::int64_t value) {
    const bool fits =
        value >= std::numeric_limits<Number>::min() && value <= std::numeric_limits<Number>::max();
    place = fits ? static_cast<Number>(value) : place;
    return fits;
  }
};

template <auto member>
inline constexpr ChipMember CHIP_MEMBER = {
    [](const PoeStatus& status) -> std::int64_t { return status.*member; },
    [](PoeStatus& status, std::int64_t value) { return StatusField::assign(status.*member, value); }};

// Both tables are in the order of the record.
constexpr std::array<StatusField, 7> CHIP_FIELDS = {{
    {"mainPower", StatusField::Kind::NUMBER, "poe_main_power_watts", "Limit of the active power bank.",
     nullptr, &CHIP_MEMBER<&PoeStatus::mainPower>},
    {"mainOperStatus", StatusField::Kind::WORD, "poe_main_oper_status",
     "Chip: 0 not yet checked, 1 running, 3 unreachable.", nullptr, &CHIP_MEMBER<&PoeStatus::mainOperStatus>,
     mainOperStatusWord},
    {"reserved", StatusField::Kind::NUMBER, nullptr, nullptr, nullptr, &CHIP_MEMBER<&PoeStatus::reserved>},
    {"mainConsumption", StatusField::Kind::NUMBER, "poe_main_consumption_watts", "Power that all ports take.",
     nullptr, &CHIP_MEMBER<&PoeStatus::mainConsumption>},
    {"deviceTemperature", StatusField::Kind::NUMBER, "poe_device_temperature_celsius",
     "Temperature of the chip.", nullptr, &CHIP_MEMBER<&PoeStatus::deviceTemperature>},
    {"thermalShutdown", StatusField::Kind::NUMBER, "poe_thermal_shutdown",
     "1 while the chip reports thermal shutdown.", nullptr, &CHIP_MEMBER<&PoeStatus::thermalShutdown>},
    {"devError", StatusField::Kind::NUMBER, "poe_device_error",
     "1 when the last transfer of the device status failed.", nullptr, &CHIP_MEMBER<&PoeStatus::devError>},
}};

constexpr std::array<StatusField, 4> PORT_FIELDS = {{
    {"operStatus", StatusField::Kind::WORD, "poe_port_oper_status",
     "Operational state: 1 disabled, 2 searching, 3 delivering power, 4 fault, 5 test, 6 other fault.",
     &PoePortStatus::operStatus, nullptr, operStatusWord},
    {"detectionStatus", StatusField::Kind::WORD, "poe_port_detection_status",
     "The chip's detection code, 4 is good.", &PoePortStatus::detectionStatus, nullptr, detectionWord},
    {"powerClassification", StatusField::Kind::WORD, "poe_port_power_classification",
     "Power class plus 1; 0 is no class.", &PoePortStatus::powerClassification, nullptr, classWord},
    {"powerConsumption", StatusField::Kind::NUMBER, "poe_port_power_consumption_watts",
     "Power that the port takes.", &PoePortStatus::powerConsumption},
}};

constexpr unsigned STATUS_COUNTERS = 6;

// The event counters of a port; their fields follow PORT_FIELDS in the record.
constexpr std::array<StatusField, STATUS_COUNTERS> STATUS_COUNTER = {{
    {"invalidSignatureCounter", StatusField::Kind::COUNTER, "poe_port_invalid_signature_total",
     "Invalid signatures since the service started.", &PoePortStatus::invalidSignatureCounter, nullptr,
     nullptr, "invalid", "inv"},
    {"powerDeniedCounter", StatusField::Kind::COUNTER, "poe_port_power_denied_total",
     "Times that power was denied since the service started.", &PoePortStatus::powerDeniedCounter, nullptr,
     nullptr, "denied", "den"},
    {"overLoadCounter", StatusField::Kind::COUNTER, "poe_port_overload_total",
     "Overloads since the service started.", &PoePortStatus::overLoadCounter, nullptr, nullptr, "overload",
     "ovl"},
    {"underLoadCounter", StatusField::Kind::COUNTER, "poe_port_underload_total",
     "Underloads since the service started.", &PoePortStatus::underLoadCounter, nullptr, nullptr, "underload",
     "und"},
    {"shortCounter", StatusField::Kind::COUNTER, "poe_port_short_total", "Shorts since the service started.",
     &PoePortStatus::shortCounter, nullptr, nullptr, "short", "sht"},
    {"classErrorCounter", StatusField::Kind::COUNTER, "poe_port_class_error_total",
     "Classification errors since the service started.", &PoePortStatus::classErrorCounter, nullptr, nullptr,
     "classerr", "cls"},
}};

// Calls visit(field) for every field of a port, in the order of the record.
template <typename Visit>
void forEachPortField(Visit visit) {
  for (const StatusField& field : PORT_FIELDS) {
    visit(field);
  }
  for (const StatusField& field : STATUS_COUNTER) {
    visit(field);
  }
}

// A field of a port's or of the whole chip's record by its name; "state" and "class" stand for a port's
// operStatus and powerClassification. Null when there is none of this name.
const StatusField* portField(const std::string& name);
const StatusField* chipField(const std::string& name);

// All names, separated by commas.
std::string portFieldNames();
std::string chipFieldNames();

// The value that `text` stands for. Nothing when the field has no such value.
std::optional<std::int64_t> fieldValue(const StatusField& field, const std::string& text);

// What fieldValue accepts, as a part of a sentence.
std::string acceptedValues(const StatusField& field);

// A value as fieldValue takes it; a code without a word as a number.
std::string valueText(const StatusField& field, std::int64_t value);
