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

// What the reports cost in transfers on the chip's bus, also when one of them fails. "device" and "channel"
// make none.
constexpr unsigned INFO_TRANSFERS = 9;
constexpr unsigned POEPORT_TRANSFERS = 10;

struct InfoReport {
  std::string state;                // of the engine: ACTIVE, IDLE or UNKNOWN
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
  std::optional<std::uint32_t> limit;    // W
  std::optional<std::uint32_t> priority; // as configured: 1 is served first; the report shows one less
  std::optional<Measurements> measurements;
  std::array<std::uint32_t, STATUS_COUNTERS> counters; // in the order of STATUS_COUNTER
};

InfoReport parseInfo(const std::string& reply);
DeviceReport parseDevice(const std::string& reply);
ChannelReport parseChannel(const std::string& reply, unsigned port);
PoePortReport parsePoePort(const std::string& reply, unsigned port);

// The faults that a channel shows, in words: "FET error, hot MOSFET"; empty when there are none.
std::string faultsOf(const ChannelReport& channel);

// Sets what the administrator has set: enabled, limit and priority. What could not be read is missing.
void addSettings(PortDetails& details, const PoePortReport& port);
