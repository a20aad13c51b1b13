// Snapshots from the service's console.
#pragma once

#include "poectl/console/console_snapshot.h"
#include "poectl/feed/snapshot_feed.h"
#include "poectl/host/periodic_worker.h"
#include "posix/file_descriptor.h"

#include <mutex>

// Takes a snapshot at once and then one a period after each. Neither next() nor the destructor waits for the
// console. One that fails is reported and left out. One thread.
class ConsoleFeed : public SnapshotFeed {
public:
  static constexpr const char* SENDS_NOTHING =
      "nothing is sent to the service beside a main process, whose next configuration would undo it";

  // `warn` gets one line for each failure that is another one than the last.
  ConsoleFeed(SnapshotReports reports, std::chrono::milliseconds period, Warn warn);

  Snapshot::Source source() const override { return Snapshot::Source::CONSOLE; }
  std::string origin() const override;
  int descriptor() const override { return m_arrived.get(); }
  EndSignals& endSignals() override { return m_signals; }
  std::string sendExample() override;
  std::string nothingCame() const override;

private:
  Event receive(std::chrono::milliseconds limit, Snapshot& snapshot) override;
  bool complete(Snapshot& snapshot, const std::vector<StatusEvent>& events) override;
  bool take(Snapshot& snapshot);
  void work();

  const SnapshotReports m_reports;
  const Warn m_warn;
  const FileDescriptor m_arrived; // an eventfd
  EndSignals m_signals;
  std::string m_warned; // what `warn` got last

  std::mutex m_mutex; // guards what follows
  std::optional<Snapshot> m_taken;
  std::string m_error;

  PeriodicWorker m_worker; // the last: its thread uses all others
};
