// What a plot of a record file shows, in bounded memory.
#pragma once

#include "poectl/record/record_events.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// One thread.
class PlotData {
public:
  static constexpr std::size_t MAX_POINTS = 2000; // of more records, each point stands for several
  static constexpr std::size_t MAX_STATES = 20000;
  static constexpr std::size_t MAX_EVENTS = 5000;

  // The greatest values of some records in a row; nothing where none of them knows it.
  struct Point {
    Snapshot::Time time;                                             // of the first
    std::array<std::optional<std::uint32_t>, POE_PORTS> consumption; // W
    std::optional<std::uint32_t> total;                              // W
    std::optional<std::uint32_t> limit;                              // W: of the active bank
    bool afterSilence = false;
  };

  // A port's operStatus for some time.
  struct State {
    unsigned port;
    std::uint32_t operStatus;
    Snapshot::Time from;
    Snapshot::Time to;
  };

  void add(const Snapshot& snapshot);

  std::uint64_t records() const { return m_records; }
  const std::vector<Point>& points() const { return m_points; }
  const std::vector<State>& states() const { return m_states; }
  // Without those of the states.
  const std::vector<RecordedEvent>& events() const { return m_events; }
  // That found no place.
  std::uint64_t statesLeftOut() const { return m_statesLeftOut; }
  std::uint64_t eventsLeftOut() const { return m_eventsLeftOut; }
  // Of the last record that had one.
  const std::array<std::string, POE_PORTS>& names() const { return m_names; }
  Snapshot::Time begin() const { return m_begin; }
  Snapshot::Time end() const { return m_end; }

private:
  void addPoint(const Snapshot& snapshot, bool afterSilence);
  void addState(unsigned port, const Snapshot& snapshot, bool afterSilence);

  RecordEvents m_tracker;
  std::uint64_t m_records = 0;
  std::uint64_t m_recordsOfPoint = 1;
  std::uint64_t m_recordsInLast = 0;
  std::vector<Point> m_points;
  std::vector<State> m_states;
  std::array<std::optional<std::size_t>, POE_PORTS> m_current; // the place of each port's last state
  std::vector<RecordedEvent> m_events;
  std::uint64_t m_statesLeftOut = 0;
  std::uint64_t m_eventsLeftOut = 0;
  std::array<std::string, POE_PORTS> m_names;
  Snapshot::Time m_begin;
  Snapshot::Time m_end;
};
