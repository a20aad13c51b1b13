// Everything that `poectl diagnose` has seen of a card. Plain values.
#pragma once

#include "components/PoeDriver/poe_messages.h"
#include "poectl/diagnose/seen_report.h"
#include "poectl/diagnose/service_log.h"
#include "poectl/service/queue_state.h"
#include "poectl/status/port_label.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// The reports that the service answers from its memory.
struct FreeReports {
  SeenReport<DeviceReport> device;
  std::array<SeenReport<ChannelReport>, POE_PORTS> channel;
};

// The reports that make transfers on the chip's bus.
struct BusReports {
  using PoePorts = std::array<SeenReport<PoePortReport>, POE_PORTS>;

  // Whether "info" shows a limit of bank 7, which the service considers a reset of the chip.
  bool showsMarker() const { return info.values && info.values->bankRegisters[POE_BANKS - 1] != 0; }

  SeenReport<InfoReport> info;
  PoePorts first;
  PoePorts later;                         // some seconds later, for the ports where it matters
  std::optional<std::uint32_t> mode;      // register 0x12, two bits for each port
  std::optional<std::uint32_t> detection; // register 0x14: bit `port`, and bit `port` + 4
  std::optional<std::uint32_t> marker;    // register 0x90, bank 7; only asked for when showsMarker()

  // What is known last of a port.
  const SeenReport<PoePortReport>& port(unsigned port) const {
    return later[port].values ? later[port] : first[port];
  }
};

enum class ConsoleState {
  REPORTS, // it answers as the service does
  CLOSED,  // nothing listens
  SILENT,  // something listens and does not answer in time
  FOREIGN, // it answers, but not as the service does
};

struct CardLooks {
  PortNames names;
  std::chrono::system_clock::time_point begin; // of the first report, by currentTime()
  std::chrono::system_clock::time_point end;   // of the last one
  ConsoleState console = ConsoleState::REPORTS;
  std::string consoleProblem;    // one line; empty for REPORTS
  std::vector<FreeReports> free; // some tenths of a second apart, the oldest first; empty without a console
  std::optional<BusReports> bus; // nothing when the bus was not used
  std::string whyNoBus;          // one line; empty when it was used
  unsigned transfers = 0;        // what the looks cost
  QueueState statusFirst;        // /queueToMain, at the beginning
  QueueState status;             // and at the end
  QueueState configuration;      // /queueToPoe
  std::string logName;           // empty: there is no log to read
  std::string logProblem;        // why the log is not known, one line
  std::string logText;           // the end of the log
  LogEvents log;
};

// Whether the transfer-free reports show a bus that fails: the last transfer failed, or errors grow.
bool isBusFailing(const CardLooks& looks);
