#include "poectl/publish/publication.h"

#include "poectl/config/file_replacement.h"
#include "poectl/status/status_export.h"
#include "poectl/status/timestamp.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <utility>

namespace {

FileDescriptor lockedDirectory(const std::string& path) {
  FileDescriptor directory(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!directory.isOpen()) {
    throw InputError(path + ": cannot be used: " + std::strerror(errno) +
                     "; a directory that exists is accepted");
  }
  if (flock(directory.get(), LOCK_EX | LOCK_NB) != 0) {
    throw InputError(path + ": another program publishes there; another directory is accepted");
  }
  return directory;
}

} // namespace

Publication::Publication(std::string directory, Clock::time_point now, Warn warn)
    : m_directory(std::move(directory)), m_warn(std::move(warn)), m_lock(lockedDirectory(m_directory)) {
  try {
    m_last = lastPublished(m_directory);
  } catch (const InputError& error) {
    m_warn(std::string(error.what()) + "; it is replaced");
  }
  if (m_last) {
    m_taken = now - ageOf(*m_last, currentTime());
  }
  refresh(now);
}

void Publication::take(const Snapshot& snapshot, Clock::time_point now) {
  m_last = snapshot;
  m_taken = now;
  write(STATUS_FILE, snapshotJsonLine(snapshot));
  writeMetrics(now, false);
  report();
}

void Publication::refresh(Clock::time_point now) {
  writeMetrics(now, false);
  report();
}

void Publication::end(Clock::time_point now) {
  writeMetrics(now, true);
  report();
}

void Publication::writeMetrics(Clock::time_point now, bool ended) {
  const auto age = std::chrono::duration_cast<std::chrono::milliseconds>(now - m_taken);
  const bool isUp = m_last && !ended && !isStaleAt(*m_last, age);
  std::string text = upMetric(isUp);
  if (m_last) {
    text += ageMetric(*m_last, age) + snapshotPrometheus(*m_last);
  }
  write(METRICS_FILE, text);
}

void Publication::write(const char* name, const std::string& text) {
  const std::string path = publishedFile(m_directory, name);
  if (!writeAside(path, path + ".part", text)) { // a name that no collector of *.prom reads
    m_failure = path + ": cannot be written: " + std::strerror(errno);
  }
}

// Each failure once.
void Publication::report() {
  const std::string failure = std::exchange(m_failure, "");
  if (failure != m_warned) {
    m_warn(failure.empty() ? m_directory + ": is written again" : failure + "; it is tried again");
  }
  m_warned = failure;
}
