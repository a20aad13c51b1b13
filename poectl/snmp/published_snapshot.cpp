#include "poectl/snmp/published_snapshot.h"

#include "poectl/record/record_line.h"
#include "poectl/record/record_reader.h"
#include "poectl/status/status_events.h"

#include <utility>

namespace {

// A file that was replaced has another inode; one that was written again, or that may be read now, has
// another time of change.
bool isSameFile(const struct stat& one, const struct stat& other) {
  return one.st_dev == other.st_dev && one.st_ino == other.st_ino && one.st_size == other.st_size &&
         one.st_ctim.tv_sec == other.st_ctim.tv_sec && one.st_ctim.tv_nsec == other.st_ctim.tv_nsec;
}

} // namespace

PublishedSnapshot::PublishedSnapshot(std::string path, Warn warn)
    : m_path(std::move(path)), m_warn(std::move(warn)) {}

CardLook PublishedSnapshot::look(Snapshot::Time now) {
  struct stat identity {};
  const bool isThere = stat(m_path.c_str(), &identity) == 0;
  // The identity is taken before the file is read: a file that replaces it in between is read again at the
  // next look.
  if (!isThere || !isSameFile(identity, m_identity)) {
    m_identity = identity;
    read();
  }
  if (!m_snapshot) {
    return {};
  }
  const auto age = std::chrono::duration_cast<std::chrono::milliseconds>(now - m_snapshot->end);
  const auto limit = staleAfterPeriod(m_snapshot->period);
  const bool isFresh = age < limit && -age < limit;
  return {isFresh ? &*m_snapshot : nullptr, age};
}

void PublishedSnapshot::read() {
  m_snapshot.reset();
  if (m_identity.st_size > static_cast<off_t>(MAX_RECORD_LINE)) { // which would take time to read
    refuse(m_path + ": is too long; accepted are " + std::to_string(MAX_RECORD_LINE) + " bytes");
    return;
  }
  try {
    RecordReader reader(m_path);
    auto record = reader.next();
    if (!record) {
      refuse(m_path + ": is empty; accepted is one line of 'poectl publish'");
    } else if (reader.place().offset != reader.size()) {
      refuse(m_path + ": has more than one line; accepted is one line of 'poectl publish'");
    } else {
      m_snapshot = std::move(record->snapshot);
      m_refusal.clear();
    }
  } catch (const InputError& error) {
    refuse(error.what());
  }
}

void PublishedSnapshot::refuse(const std::string& reason) {
  if (reason != m_refusal) {
    m_refusal = reason;
    m_warn(reason);
  }
}
