#include "poectl/snmp/published_snapshot.h"

#include "poectl/config/input_file.h"
#include "poectl/publish/published.h"

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
  const std::chrono::milliseconds age = ageOf(*m_snapshot, now);
  return {isStaleAt(*m_snapshot, age) ? nullptr : &*m_snapshot, age};
}

void PublishedSnapshot::read() {
  m_snapshot.reset();
  try {
    m_snapshot = publishedSnapshot(m_path);
    m_refusal.clear();
  } catch (const InputError& error) {
    if (error.what() != m_refusal) {
      m_refusal = error.what();
      m_warn(m_refusal);
    }
  }
}
