// Publishes snapshots as files that other programs read at any moment.
#pragma once

#include "poectl/publish/published.h"
#include "poectl/status/snapshot.h"
#include "posix/file_descriptor.h"

#include <chrono>
#include <functional>
#include <optional>
#include <string>

// Owns STATUS_FILE and METRICS_FILE of a directory. A reader always sees whole files, wherever this process
// is killed. One thread.
class Publication {
public:
  using Clock = std::chrono::steady_clock;
  using Warn = std::function<void(const std::string& line)>;

  // Goes on with the last snapshot that was published there, if any. `warn` gets a line when that is damaged,
  // when a file cannot be written, and when the files can be written again. Throws InputError when the
  // directory cannot be used, or when another process publishes there.
  Publication(std::string directory, Clock::time_point now, Warn warn);

  // Writes both files. `now` never goes back from one call to the next.
  void take(const Snapshot& snapshot, Clock::time_point now);

  // Writes the metrics with the present age.
  void refresh(Clock::time_point now);

  // Says in the metrics that no snapshot comes any more.
  void end(Clock::time_point now);

  // Whether the last files could be written.
  bool isWritten() const { return m_warned.empty(); }

private:
  void write(const char* name, const std::string& text);
  void writeMetrics(Clock::time_point now, bool ended);
  void report();

  const std::string m_directory;
  const Warn m_warn;
  FileDescriptor m_lock; // the directory itself, so that no other file is there
  std::optional<Snapshot> m_last;
  Clock::time_point m_taken; // when m_last came
  std::string m_failure;     // of the write in progress, one line; empty: none
  std::string m_warned;      // the failure of the last write; empty: none
};
