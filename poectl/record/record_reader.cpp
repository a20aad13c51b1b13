#include "poectl/record/record_reader.h"

#include "poectl/record/record_line.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

RecordReader::RecordReader(const std::string& path, Warn warn) : m_path(path), m_warn(std::move(warn)) {
  const int descriptor =
      open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY); // a FIFO does not block
  struct stat status {};
  if (descriptor < 0 || fstat(descriptor, &status) != 0) {
    throw InputError(path + ": cannot be read: " + std::strerror(errno));
  }
  m_file.reset(fdopen(descriptor, "r"));
  if (!S_ISREG(status.st_mode)) {
    throw InputError(path + ": is no regular file; accepted is a file of 'poectl watch --record'");
  }
  m_size = static_cast<std::uint64_t>(status.st_size);
}

std::optional<Record> RecordReader::next() {
  while (true) {
    const Place before = m_place;
    if (!readLine()) {
      return {};
    }
    std::string what = m_fault;
    if (what.empty()) {
      try {
        Record record{parseRecord(m_line), m_line};
        m_place.records++;
        return record;
      } catch (const RecordLineError& error) {
        what = m_isCut ? "the line is cut" : error.what();
      }
    }
    if (!m_warn) {
      const std::string report = damage(what);
      goTo(before);
      throw InputError(report);
    }
    m_warn(m_path + ":" + std::to_string(m_place.lines) + ": " + what + "; passed over");
  }
}

// Takes a line without its end into m_line, of a too long one the first part. False at the end of the file.
bool RecordReader::readLine() {
  m_line.clear();
  m_fault.clear();
  std::uint64_t length = 0;
  int character = 0;
  while ((character = getc_unlocked(m_file.get())) != EOF && character != '\n') {
    if (length++ < MAX_RECORD_LINE) {
      m_line += static_cast<char>(character);
    }
  }
  if (character == EOF && std::ferror(m_file.get()) != 0) {
    throw InputError(m_path + ": cannot be read: " + std::strerror(errno));
  }
  if (character == EOF && length == 0) {
    return false;
  }
  if (length > MAX_RECORD_LINE) {
    m_fault = "the line is too long; accepted are " + std::to_string(MAX_RECORD_LINE) + " bytes";
  }
  m_isCut = character == EOF;
  m_place.offset += length + (character == EOF ? 0 : 1);
  m_place.lines++;
  return true;
}

std::string RecordReader::damage(const std::string& what) const {
  const std::uint64_t records = m_place.records;
  return m_path + ":" + std::to_string(m_place.lines) + ": " + what + "; " +
         (records == 0   ? "there is no record before it"
          : records == 1 ? "shown is the 1 record before it"
                         : "shown are the " + std::to_string(records) + " records before it");
}

void RecordReader::goTo(const Place& place) {
  std::clearerr(m_file.get());
  if (fseeko(m_file.get(), static_cast<off_t>(place.offset), SEEK_SET) != 0) {
    throw InputError(m_path + ": cannot be read: " + std::strerror(errno));
  }
  m_place = place;
}
