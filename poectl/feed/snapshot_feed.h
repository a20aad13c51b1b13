// The snapshots that "watch" shows one after the other.
#pragma once

#include "poectl/host/end_signals.h"
#include "poectl/status/snapshot.h"
#include "poectl/status/status_events.h"

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

// Numbers the snapshots of a source and compares each with the one before. Takes over the end signals as long
// as it exists. One thread.
class SnapshotFeed {
public:
  enum class Event {
    SNAPSHOT,    // there is a new one
    TIME_UP,     // none came in time
    INTERRUPTED, // one of the end signals came; every further wait ends at once
  };
  struct Update {
    Event event;
    std::vector<StatusEvent> events; // with a snapshot, and when the last one becomes stale
    bool hasNewSettings;             // of the ports, in the details of last()
  };
  using Warn = std::function<void(const std::string& line)>;

  SnapshotFeed(const SnapshotFeed&) = delete;
  SnapshotFeed& operator=(const SnapshotFeed&) = delete;
  virtual ~SnapshotFeed() = default;

  // Waits at most `limit` for a snapshot; 0 only looks. Throws what the source throws.
  Update next(std::chrono::milliseconds limit);

  // For the snapshots from now on.
  void setNames(const PortNames& names) { m_names = names; }
  const PortNames& names() const { return m_names; }
  // Nothing before the first one.
  const std::optional<Snapshot>& last() const { return m_last; }
  // Since last() came.
  std::chrono::milliseconds age() const;
  // Age from which on last() is no longer what the service says.
  std::chrono::milliseconds staleAfter() const { return m_staleAfter; }
  bool isStale() const { return m_last && age() >= m_staleAfter; }
  // Counts from 1; 0 before the first snapshot.
  unsigned long count() const { return m_count; }
  // The usual time between two snapshots.
  std::chrono::milliseconds period() const { return m_period; }

  virtual Snapshot::Source source() const = 0;
  // The source and what its snapshots cost: "console: 49 transfers a snapshot, each 10 s".
  virtual std::string origin() const = 0;
  // Readable when next() has a snapshot; so is that of endSignals() when next() is interrupted.
  virtual int descriptor() const = 0;
  virtual EndSignals& endSignals() = 0;
  // Sends the example configuration as soon as the service is seen to run. Returns why it does not, one line;
  // empty when it does.
  virtual std::string sendExample() = 0;
  // What to say, in one line, when no snapshot came at all.
  virtual std::string nothingCame() const = 0;

protected:
  using Clock = EventTracker::Clock;

  SnapshotFeed(std::chrono::milliseconds period, std::chrono::milliseconds staleAfter);

  // Waits for the source; sets `snapshot` when it returns SNAPSHOT.
  virtual Event receive(std::chrono::milliseconds limit, Snapshot& snapshot) = 0;
  // Completes a snapshot by what the source knows beside it, and follows its events. Returns whether the
  // settings in it are new.
  virtual bool complete(Snapshot& snapshot, const std::vector<StatusEvent>& events) = 0;

  std::optional<Snapshot> m_last;

private:
  const std::chrono::milliseconds m_period;
  const std::chrono::milliseconds m_staleAfter;
  EventTracker m_tracker;
  PortNames m_names;
  Clock::time_point m_lastTime;
  unsigned long m_count = 0;
};

// Whether the service has started anew and has forgotten its configuration.
bool isRestart(const std::vector<StatusEvent>& events);
