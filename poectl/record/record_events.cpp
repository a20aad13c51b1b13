#include "poectl/record/record_events.h"

namespace {

// The tracker's clock at a time of day.
EventTracker::Clock::time_point clockAt(Snapshot::Time time) {
  return EventTracker::Clock::time_point(
      std::chrono::duration_cast<EventTracker::Clock::duration>(time.time_since_epoch()));
}

// Numbers count from 1 in each run; without them, nobody knows.
bool goesOn(const Snapshot& last, const Snapshot& next) {
  return last.source == next.source && last.period == next.period &&
         (next.number > last.number || (next.number == 0 && last.number == 0));
}

} // namespace

std::vector<RecordedEvent> RecordEvents::record(const Snapshot& snapshot) {
  m_isFirstOfRun = !m_tracker || !goesOn(m_last, snapshot);
  if (m_isFirstOfRun) {
    m_tracker.emplace(staleAfterPeriod(snapshot.period));
  }
  std::vector<RecordedEvent> events;
  const Snapshot::Time limit = m_last.end + staleAfterPeriod(m_last.period);
  if (limit < snapshot.end) {
    if (const auto stale = m_tracker->silence(clockAt(limit))) { // never for the first one
      events.push_back({limit, *stale});
    }
  }
  for (const StatusEvent& event : m_tracker->message(snapshot.status, clockAt(snapshot.end))) {
    events.push_back({snapshot.end, event});
  }
  m_last = snapshot;
  return events;
}
