// What happens from one record to the next.
#pragma once

#include "poectl/status/snapshot.h"
#include "poectl/status/status_events.h"

#include <vector>

struct RecordedEvent {
  Snapshot::Time time;
  StatusEvent event;
};

// The events that "watch" shows when it receives these records at their times. One thread.
class RecordEvents {
public:
  // In the order of their times. A silence that is too long counts from its limit on.
  std::vector<RecordedEvent> record(const Snapshot& snapshot);

private:
  EventTracker m_tracker;
  Snapshot::Time m_last; // time of the last record
};
