// What happens from one record to the next.
#pragma once

#include "poectl/status/snapshot.h"
#include "poectl/status/status_events.h"

#include <optional>
#include <vector>

struct RecordedEvent {
  Snapshot::Time time;
  StatusEvent event;
};

// The events that "watch" showed when it received these records. One thread.
class RecordEvents {
public:
  // In the order of their times. A silence that is too long counts from its limit on.
  std::vector<RecordedEvent> record(const Snapshot& snapshot);

  // Whether the last record is the first one of another run of "watch". Nothing is compared with what was
  // before it.
  bool isFirstOfRun() const { return m_isFirstOfRun; }

private:
  std::optional<EventTracker> m_tracker; // nothing before the first record
  bool m_isFirstOfRun = false;
  Snapshot m_last;
};
