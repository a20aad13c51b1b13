// Everything that the live view shows.
#pragma once

#include "poectl/card/card_state.h"
#include "poectl/console/port_settings.h"
#include "poectl/status/status_events.h"
#include "poectl/status/status_field.h"
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

struct ViewState {
  static constexpr std::size_t MAX_EVENTS = 1000; // the oldest go first
  static constexpr unsigned long RECENT = 5;      // messages for which a counter counts as changed

  std::optional<PoeStatus> status; // nothing before the first message
  unsigned long messages = 0;
  std::chrono::milliseconds age{0}; // of the status
  // As they were sent or read last; nothing while neither was done since the service has started.
  std::array<std::optional<PortSettings>, POE_PORTS> settings;
  std::array<std::string, POE_PORTS> faults; // as faultsOf() has them
  // The message that brought a counter's last change; 0: none.
  std::array<std::array<unsigned long, STATUS_COUNTERS>, POE_PORTS> changedAt{};
  ConsumptionHistory history;
  std::deque<LoggedEvent> events; // the newest last
  std::size_t scrolledBack = 0;   // events below the last one that is shown

  std::optional<ReplayPosition> replay; // nothing while the view is live
  std::optional<CardState> card;        // nothing while no card answers
  unsigned port = 0;                    // the chosen one
  std::string note;                     // the last answer or warning, one line
  std::optional<std::string> prompt;
  bool help = false;

  bool isStale() const { return status && age >= STALE_AFTER; }

  bool changedLately(unsigned ofPort, unsigned counter) const {
    const unsigned long at = changedAt[ofPort][counter];
    return at != 0 && messages - at < RECENT;
  }

  void log(const std::string& time, const StatusEvent& event);
};
