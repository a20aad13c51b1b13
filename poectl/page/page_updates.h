// What the open pages are told, as server-sent events.
#pragma once

#include "poectl/card/card_state.h"
#include "poectl/feed/snapshot_feed.h"

#include <cstdint>
#include <deque>
#include <optional>
#include <string>

// Keeps what a page needs that opens later, and the last updates for those that read slowly. All of it is
// bounded. An update is the text of one server-sent event; the data is a JSON object on one line:
//
//   start     everything so far; a page that gets it forgets what it has
//   snapshot  {"ageMs":0,"snapshot":...} with the object of "poectl status --json"
//   change    an event of the card, with the time, its text and the object of "poectl watch --events --json"
//   card      the simulated card's state, null without one, and its answer to the last command
//   note      a warning, such as a console that cannot be reached
//
// One thread.
class PageUpdates {
public:
  static constexpr std::size_t MAX_SAMPLES = 600; // of the history
  static constexpr std::size_t MAX_CHANGES = 200;
  static constexpr std::size_t MAX_UPDATES = 64; // who is further behind gets "start" again
  static constexpr std::uint64_t START = UINT64_MAX;

  PageUpdates(std::string origin, std::chrono::milliseconds staleAfter);

  void snapshot(const Snapshot& snapshot);
  void change(const std::string& time, unsigned long number, const StatusEvent& event, const Snapshot& last);
  void card(const std::optional<CardState>& state, const std::string& answer);
  void note(const std::string& line);

  // What a reader gets next, and the number of what follows it; empty when nothing has come. `number` begins
  // with START. `age` is that of the last snapshot.
  std::string next(std::uint64_t& number, std::chrono::milliseconds age) const;

private:
  std::string start(std::chrono::milliseconds age) const;
  void push(const char* name, const std::string& data);

  const std::string m_origin;
  const std::chrono::milliseconds m_staleAfter;
  std::deque<std::string> m_updates;
  std::uint64_t m_first = 0;         // number of the oldest update
  std::deque<std::string> m_samples; // JSON arrays: ms since 1970, bank limit, consumption of each port in W
  std::deque<std::string> m_changes; // JSON objects
  std::string m_snapshot;            // a JSON object; empty before the first one
  std::string m_card;                // the data of the last update "card"; empty before it
  std::string m_note;                // since the last snapshot
};
