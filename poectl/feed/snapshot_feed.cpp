#include "poectl/feed/snapshot_feed.h"

#include <algorithm>

SnapshotFeed::SnapshotFeed(std::chrono::milliseconds period, std::chrono::milliseconds staleAfter)
    : m_period(period), m_staleAfter(staleAfter), m_tracker(staleAfter) {}

SnapshotFeed::Update SnapshotFeed::next(std::chrono::milliseconds limit) {
  Snapshot snapshot;
  Update update{receive(limit, snapshot), {}, false};
  const Clock::time_point now = Clock::now();
  if (update.event != Event::SNAPSHOT) {
    if (const auto stale = m_tracker.silence(now)) {
      update.events.push_back(*stale);
    }
    return update;
  }
  update.events = m_tracker.message(snapshot.status, now);
  snapshot.number = ++m_count;
  snapshot.names = m_names;
  snapshot.period = m_period;
  update.hasNewSettings = complete(snapshot, update.events);
  m_last = std::move(snapshot);
  m_lastTime = now;
  return update;
}

std::chrono::milliseconds SnapshotFeed::age() const {
  return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - m_lastTime);
}

bool isRestart(const std::vector<StatusEvent>& events) {
  return std::any_of(events.begin(), events.end(), [](const StatusEvent& event) {
    return event.kind == EventKind::RESUMED || event.kind == EventKind::SERVICE_RESTARTED;
  });
}
