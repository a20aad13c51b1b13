// Everything that the live view shows.
#pragma once

#include "components/PoeDriver/power_limits.h"
#include "poectl/card/card_state.h"
#include "poectl/status/snapshot.h"
#include "poectl/status/status_events.h"
#include "poectl/view/consumption_history.h"

#include <array>
#include <chrono>
#include <deque>
#include <optional>
#include <string>

struct LoggedEvent {
  std::string time; // of day
  StatusEvent event;
};

// Of a record that is played.
struct ReplayPosition {
  std::uint64_t record = 0; // number of the one that is shown, from 1
  std::string time;         // as isoTime() has it
  unsigned percent = 0;     // of the file
  double speed = 1;
  bool isPaused = false;
  bool isAtEnd = false;
};

// What an unlimited port gets, in W.
constexpr std::uint32_t MAX_PORT_LIMIT_W = MAX_PORT_LIMIT_MW / 1000;

struct ViewState {
  static constexpr std::size_t MAX_EVENTS = 1000; // the oldest go first
  static constexpr unsigned long RECENT = 5;      // snapshots for which a counter counts as changed

  Snapshot::Source source = Snapshot::Source::QUEUE;
  std::string origin = "queue";     // the source and what it costs, a few words
  bool mayUseBus = true;            // false: no key makes transfers
  std::optional<Snapshot> snapshot; // nothing before the first one
  std::chrono::milliseconds age{0}; // of the snapshot
  std::chrono::milliseconds staleAfter = STALE_AFTER;
  // Enabled, limit and priority as they were sent or read last; missing while neither was done since the
  // service has started.
  std::array<PortDetails, POE_PORTS> settings;
  std::array<std::string, POE_PORTS> faults; // as faultsOf() has them
  // The number of the snapshot that brought a counter's last change; 0: none.
  std::array<std::array<unsigned long, STATUS_COUNTERS>, POE_PORTS> changedAt{};
  ConsumptionHistory history;
  std::array<ConsumptionHistory, POE_PORTS> portHistory;
  std::deque<LoggedEvent> events; // the newest last
  std::size_t scrolledBack = 0;   // events below the last one that is shown

  std::optional<ReplayPosition> replay; // nothing while the view is live
  std::optional<CardState> card;        // nothing while no card answers
  unsigned port = 0;                    // the chosen one
  std::string note;                     // the last answer or warning, one line
  std::optional<std::string> prompt;
  bool help = false;
  bool portPage = false; // of the chosen port, in the place of plot and events

  bool isStale() const { return snapshot && age >= staleAfter; }
  unsigned long number() const { return snapshot ? snapshot->number : 0; }
  PortNames names() const { return snapshot ? snapshot->names : PortNames(); }

  bool changedLately(unsigned ofPort, unsigned counter) const {
    const unsigned long at = changedAt[ofPort][counter];
    return at != 0 && number() - at < RECENT;
  }

  // Shows another snapshot, and adds it to the histories.
  void show(const Snapshot& next);
  // An entry without a sample, for a snapshot that did not come.
  void addGap();
  void log(const std::string& time, const StatusEvent& event);
};
