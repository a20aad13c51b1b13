// Plays a record into the live view. No terminal is needed.
#pragma once

#include "poectl/record/record_player.h"
#include "poectl/view/view_keys.h"
#include "poectl/view/view_state.h"

#include <chrono>
#include <string>

// Time passes by update() only. After a step back the view shows what the last LOOKBACK records have brought.
// One thread.
class Replay {
public:
  using Clock = std::chrono::steady_clock;

  static constexpr std::uint64_t LOOKBACK = 1000;        // records
  static constexpr std::chrono::seconds MAX_SILENCE{60}; // of a longer one, only the last part is played

  // Throws InputError.
  Replay(const std::string& path, RecordReader::Warn warn, ViewState& state);

  // Shows what has come until `now`; at most some thousand records in a call, then the record waits.
  void update(Clock::time_point now);
  void press(ReplayKey key);

  // What ended the file; empty: its end, or it has not ended.
  const std::string& damage() const { return m_player.damage(); }

private:
  bool load();
  void show();
  void forward(Snapshot::Time until);
  void back(Snapshot::Time until, std::uint64_t lastRecord);
  void changeSpeed(int steps);
  void forgetShown();

  RecordPlayer m_player; // its record is shown or, when m_isLoaded, comes next
  ViewState& m_state;
  bool m_isLoaded = false;
  bool m_toEnd = false;
  bool m_isPaused = false;
  int m_speed = 0; // power of 2
  std::uint64_t m_shown = 0;
  Snapshot::Time m_shownTime;
  Snapshot::Time m_time; // of the play
  Clock::time_point m_last;
};
