#include "poectl/record/record_writer.h"

#include "poectl/record/record_reader.h"
#include "poectl/status/status_export.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

RecordWriter::RecordWriter(const std::string& path, Warn warn) : m_path(path), m_warn(std::move(warn)) {
  struct stat status {};
  const bool isThere = stat(path.c_str(), &status) == 0;
  if (isThere && !S_ISREG(status.st_mode)) {
    throw InputError(path + ": is no regular file; accepted is a regular file, or a name that is free");
  }
  // Should a FIFO have come into its place, nobody is waited for.
  m_file = FileDescriptor(
      open(path.c_str(), O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, 0666));
  if (!m_file.isOpen()) {
    throw InputError(path + ": cannot be written: " + std::strerror(errno));
  }
  if (flock(m_file.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
    throw InputError(path + ": another program records into it; accepted is another file");
  }
  requireRecords();
  endLastLine();
}

// The first line decides: a file is made by one version.
void RecordWriter::requireRecords() const {
  try {
    RecordReader(m_path).next();
  } catch (const InputError& error) {
    throw InputError(std::string(error.what()) + "; nothing is appended");
  }
}

void RecordWriter::endLastLine() const {
  struct stat status {};
  char last = '\n';
  if (fstat(m_file.get(), &status) == 0 && status.st_size > 0 &&
      pread(m_file.get(), &last, 1, status.st_size - 1) == 1 && last != '\n' &&
      ::write(m_file.get(), "\n", 1) != 1) {
    throw InputError(m_path + ": cannot be written: " + std::strerror(errno));
  }
}

void RecordWriter::write(const Snapshot& snapshot) {
  const std::string line = snapshotJsonLine(snapshot);
  struct stat before {};
  const bool hasSize = fstat(m_file.get(), &before) == 0;
  const ssize_t written = ::write(m_file.get(), line.data(), line.size());
  const int error = written < 0 ? errno : ENOSPC;
  const bool isWhole = written == static_cast<ssize_t>(line.size());
  if (!isWhole && written > 0 && hasSize && ftruncate(m_file.get(), before.st_size) != 0) {
    m_warn(m_path + ": the record is cut, and its first part cannot be removed: " + std::strerror(errno));
  }
  report(isWhole, error);
}

void RecordWriter::report(bool written, int error) {
  if (!written && !m_isFailing) {
    m_warn(m_path + ": cannot be written: " + std::strerror(error) + "; it is tried again with each record");
  } else if (written && m_isFailing) {
    m_warn(m_path + ": is written again");
  }
  m_isFailing = !written;
  m_isComplete &= written;
}

std::unique_ptr<RecordWriter> openRecord(const std::string& path, RecordWriter::Warn warn) {
  return path.empty() ? nullptr : std::make_unique<RecordWriter>(path, std::move(warn));
}
