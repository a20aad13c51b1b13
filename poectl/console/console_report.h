// The reports of the service's console, understood line by line. This is the one place for their labels.
//
// A parser takes the reply of askConsole() to the command that it is named after. It throws ConsoleError, one
// line, for a reply that is cut, that lacks a line, or whose values are not understood; then there is nothing
// of it. For use from any thread.
#pragma once

#include "components/PoeDriver/poe_messages.h"
#include "poectl/status/snapshot.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

struct InfoReport {
  std::string state;                // of the engine: ACTIVE, IDLE or UNKNOWN
  std::string watchdog;             // IN TIME or LATE; empty: the service has no watchdog
  std::string driverMode;           // NORMAL, IDLE, SELFTEST, FAIL or UNKNOWN
  bool busError;                    // the last transfer before this report failed
  std::uint32_t busErrors;          // episodes of failed transfers since the service started
  std::uint32_t mainVoltage;        // 0.1 V
  std::uint32_t consumption;        // W, of all ports
  std::uint32_t minShutdownVoltage; // 0.1 V
  bool isStatic;                    // power-management calculation; false: not to be read, too
  std::uint32_t bank;               // the active one
  std::uint32_t bankLimit;          // W, of the active one
  std::array<std::uint32_t, POE_BANKS> bankRegisters; // W; one that cannot be read repeats the one before
};

struct DeviceReport {
  std::uint32_t id;
  std::uint32_t revision;
  std::int32_t temperature; // degrees Celsius
  bool thermalShutdown;
  bool devError;
  std::uint32_t busErrors; // as InfoReport::busErrors
};

struct ChannelReport {
  bool enabled; // the chip has switched the port's power on
  bool powerGood;
  std::uint32_t detection;      // as PoePortStatus::detectionStatus
  std::uint32_t classification; // as PoePortStatus::powerClassification
  bool fetError;
  bool hotMosfet;
  bool inPmMode;
  bool passedCapacitorDetection;
  bool detectionFailed;
};

struct PoePortReport {
  struct Measurements {
    std::uint32_t mainVoltage; // 0.1 V
    std::uint32_t portVoltage; // 0.1 V
    std::uint32_t current;     // mA
    std::uint32_t consumption; // W
  };

  bool enabled; // by the configuration
  std::uint32_t operStatus;
  std::uint32_t classification; // as PoePortStatus::powerClassification
  // Missing when the service could not read them from the chip.
  std::optional<std::uint32_t> limit;          // W
  std::optional<std::uint32_t> temporaryLimit; // W; missing together with the limit
  std::optional<std::uint32_t> priority;       // as configured: 1 is served first; the report shows one less
  std::optional<Measurements> measurements;
  std::array<std::uint32_t, STATUS_COUNTERS> counters; // in the order of STATUS_COUNTER
};

// A line of a report that can be quoted: its label, and where the report has its value.
template <typename Report, typename Value>
struct ReportLine {
  constexpr operator std::string_view() const { return label; }

  const char* label;
  Value Report::*value;
};
template <typename Report, typename Value>
ReportLine(const char*, Value Report::*) -> ReportLine<Report, Value>;

namespace InfoLine {
inline constexpr ReportLine STATE{"m_state", &InfoReport::state};
inline constexpr ReportLine WATCHDOG{"state", &InfoReport::watchdog};
inline constexpr const char* LAST_FED = "last fed (ms ago)"; // of the watchdog
inline constexpr ReportLine MAIN_VOLTAGE{"main voltage (V)", &InfoReport::mainVoltage};
inline constexpr ReportLine MIN_SHUTDOWN_VOLTAGE{"min_shutdown_voltage", &InfoReport::minShutdownVoltage};
inline constexpr ReportLine BANK{"power_bank", &InfoReport::bank};
inline constexpr ReportLine BANK_LIMIT{"power_limit (this bank)", &InfoReport::bankLimit};
std::string bankRegister(unsigned bank); // the label
} // namespace InfoLine

namespace DeviceLine {
inline constexpr ReportLine TEMPERATURE{"temperature", &DeviceReport::temperature};
inline constexpr ReportLine THERMAL_SHUTDOWN{"thermal shutdown", &DeviceReport::thermalShutdown};
inline constexpr ReportLine DEV_ERROR{"dev_error", &DeviceReport::devError};
inline constexpr ReportLine BUS_ERRORS{"device errorcount", &DeviceReport::busErrors};
} // namespace DeviceLine

namespace ChannelLine {
inline constexpr ReportLine ENABLE{"enable", &ChannelReport::enabled};
inline constexpr ReportLine DETECTION{"det_status", &ChannelReport::detection};
inline constexpr ReportLine CLASSIFICATION{"pclass", &ChannelReport::classification};
inline constexpr ReportLine FET_ERROR{"fet_error", &ChannelReport::fetError};
inline constexpr ReportLine HOT_MOSFET{"mosfet_overtemperature", &ChannelReport::hotMosfet};
inline constexpr ReportLine DETECTION_FAILED{"det_fail", &ChannelReport::detectionFailed};
} // namespace ChannelLine

// The counters' labels are the names of STATUS_COUNTER.
namespace PoePortLine {
inline constexpr ReportLine ENABLE{"admin enable", &PoePortReport::enabled};
inline constexpr ReportLine OPER_STATUS{"Oper status", &PoePortReport::operStatus};
inline constexpr ReportLine CLASSIFICATION{"powerClassification", &PoePortReport::classification};
inline constexpr ReportLine LIMIT{"port power limit (W)", &PoePortReport::limit};
inline constexpr ReportLine TEMPORARY_LIMIT{"temp port power limit (W)", &PoePortReport::temporaryLimit};
inline constexpr const char* CONSUMPTION = "power_consumption (W)";
} // namespace PoePortLine

InfoReport parseInfo(const std::string& reply);
DeviceReport parseDevice(const std::string& reply);
ChannelReport parseChannel(const std::string& reply, unsigned port);
PoePortReport parsePoePort(const std::string& reply, unsigned port);

// The value of the line with this label as the reply shows it. Empty when there is no such line.
std::string shownValue(const std::string& reply, std::string_view label);

// The faults that a channel shows, in words: "FET error, hot MOSFET"; empty when there are none.
std::string faultsOf(const ChannelReport& channel);

// Sets what the administrator has set: enabled, limit and priority. What could not be read is missing.
void addSettings(PortDetails& details, const PoePortReport& port);
