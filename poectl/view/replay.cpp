#include "poectl/view/replay.h"

#include "poectl/status/timestamp.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

constexpr int MIN_SPEED = -3;          // an eighth
constexpr int MAX_SPEED = 10;          // 1024 times
constexpr unsigned MAX_RECORDS = 2000; // of an update, so that keys are heard
constexpr std::chrono::seconds SHORT_STEP{10};
constexpr std::chrono::minutes LONG_STEP{10};

std::string clockTime(Snapshot::Time time) {
  return isoTime(time).substr(11, 8);
}

} // namespace

Replay::Replay(const std::string& path, RecordReader::Warn warn, ViewState& state)
    : m_player(path, std::move(warn)), m_state(state) {
  m_state.replay.emplace();
  m_last = Clock::time_point();
  press(ReplayKey::FIRST);
}

void Replay::update(Clock::time_point now) {
  const auto passed = m_last == Clock::time_point() ? Clock::duration::zero() : now - m_last;
  m_last = now;
  if (!m_isPaused && !m_state.replay->isAtEnd) {
    m_time += std::chrono::duration_cast<Snapshot::Time::duration>(passed * std::exp2(m_speed));
  }
  forward(m_time);
  ReplayPosition& position = *m_state.replay;
  position.isPaused = m_isPaused;
  position.speed = std::exp2(m_speed);
  position.percent = m_player.percent();
  position.record = m_shown;
  position.time = m_shown == 0 ? "" : isoTime(m_shownTime);
  m_state.age = std::chrono::duration_cast<std::chrono::milliseconds>(m_time - m_shownTime);
}

// Has the next record in m_player. False at the end.
bool Replay::load() {
  if (!m_isLoaded) {
    m_isLoaded = m_player.forward();
    m_state.replay->isAtEnd = !m_isLoaded;
    if (!m_isLoaded) {
      m_time = m_shownTime;
      m_toEnd = false;
    }
  }
  return m_isLoaded;
}

void Replay::forward(Snapshot::Time until) {
  for (unsigned records = 0; load(); records++) {
    const Snapshot::Time next = m_player.snapshot().end;
    const bool isClockSetBack = next < m_shownTime;
    if (!m_toEnd && next > until + MAX_SILENCE) {
      m_time = next - MAX_SILENCE;
    }
    if (!m_toEnd && !isClockSetBack && next > until) {
      return;
    }
    if (records == MAX_RECORDS) {
      m_time = m_shownTime;
      return;
    }
    show();
    if (m_toEnd || isClockSetBack) {
      m_time = m_shownTime;
      until = m_time;
    }
  }
}

void Replay::show() {
  const Snapshot& snapshot = m_player.snapshot();
  m_isLoaded = false;
  m_shown = m_player.number();
  m_shownTime = snapshot.end;
  m_state.source = snapshot.source;
  m_state.origin = std::string("record from the ") + sourceWord(snapshot.source);
  m_state.staleAfter = staleAfterPeriod(snapshot.period);
  m_state.settings = snapshot.details;
  for (unsigned port = 0; port < POE_PORTS; port++) {
    m_state.faults[port] = snapshot.details[port].faults.value_or("");
  }
  Snapshot shown = snapshot;
  shown.number =
      static_cast<unsigned long>(m_shown); // a file may hold several runs, each with numbers from 1
  for (const RecordedEvent& recorded : m_player.events()) {
    if (recorded.event.kind == EventKind::STALE) {
      m_state.addGap();
    }
  }
  m_state.show(shown);
  for (const RecordedEvent& recorded : m_player.events()) {
    m_state.log(clockTime(recorded.time), recorded.event);
  }
}

void Replay::forgetShown() {
  m_isLoaded = false;
  m_shown = 0;
  m_shownTime = {};
  m_state.snapshot.reset();
  m_state.history = {};
  m_state.portHistory = {};
  m_state.events.clear();
  m_state.scrolledBack = 0;
  m_state.changedAt = {};
  m_state.settings = {};
  m_state.replay->isAtEnd = false;
}

// To the last record that is not after `until`, and not after `lastRecord`.
void Replay::back(Snapshot::Time until, std::uint64_t lastRecord) {
  const std::uint64_t first = lastRecord > 2 * LOOKBACK ? lastRecord - 2 * LOOKBACK : 1;
  forgetShown();
  m_player.rewindTo(first);
  while (load() && (m_shown == 0 || (m_player.number() <= lastRecord && m_player.snapshot().end <= until))) {
    show();
  }
  m_time = m_shownTime;
}

void Replay::changeSpeed(int steps) {
  m_speed = std::clamp(m_speed + steps, MIN_SPEED, MAX_SPEED);
}

void Replay::press(ReplayKey key) {
  constexpr auto ANY_TIME = Snapshot::Time::max();
  const std::uint64_t before = m_shown > 1 ? m_shown - 1 : 1;
  m_toEnd = key == ReplayKey::LAST;
  switch (key) {
  case ReplayKey::NONE:
  case ReplayKey::LAST:
    return;
  case ReplayKey::PAUSE:
    m_isPaused = !m_isPaused;
    return;
  case ReplayKey::FASTER:
    return changeSpeed(1);
  case ReplayKey::SLOWER:
    return changeSpeed(-1);
  case ReplayKey::FIRST:
    return back(ANY_TIME, 1);
  case ReplayKey::PREVIOUS:
    m_isPaused = true;
    return back(ANY_TIME, before);
  case ReplayKey::NEXT:
    m_isPaused = true;
    if (load()) {
      show();
      m_time = m_shownTime;
    }
    return;
  case ReplayKey::BACK:
    return back(m_shownTime - SHORT_STEP, before);
  case ReplayKey::FAR_BACK:
    return back(m_shownTime - LONG_STEP, before);
  case ReplayKey::FORWARD:
    m_time += SHORT_STEP;
    return;
  case ReplayKey::FAR_FORWARD:
    m_time += LONG_STEP;
    return;
  }
}
