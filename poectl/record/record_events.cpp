#include "poectl/record/record_events.h"

namespace {

// The tracker's clock at a time of day.
EventTracker::Clock::time_point clockAt(Snapshot::Time time) {
  return EventTracker::Clock::time_point(
      std::chrono::duration_cast<EventTracker::Clock::duration>(time.time_since_epoch()));
}

} // namespace

std::vector<RecordedEvent> RecordEvents::record(const Snapshot& snapshot) {
  std::vector<RecordedEvent> events;
  const Snapshot::Time limit = m_last + STALE_AFTER;
  if (limit < snapshot.end) {
    if (const auto stale = m_tracker.silence(clockAt(limit))) {
      events.push_back({limit, *stale});
    }
  }
  for (const StatusEvent& event : m_tracker.message(snapshot.status, clockAt(snapshot.end))) {
    events.push_back({snapshot.end, event});
  }
  m_last = snapshot.end;
  return events;
}
