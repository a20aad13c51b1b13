#include "poectl/scenario/log_follower.h"

#include "poectl/config/input_file.h"
#include "poectl/host/visible_text.h"
#include "posix/file_descriptor.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr std::size_t SHOWN_LINES = 5;
constexpr std::size_t MAX_KEPT = 16UL * 1024 * 1024; // bytes
constexpr std::size_t LINE_COST = sizeof(std::string);

} // namespace

LogFollower::LogFollower(std::string path) : m_path(std::move(path)) {
  readOn();
}

bool LogFollower::find(const std::string& text) {
  const std::size_t index = indexOf(text);
  const bool found = index < m_lines.size();
  for (std::size_t past = 0; found && past <= index; past++) {
    m_size -= m_lines.front().size() + LINE_COST;
    m_lines.pop_front();
  }
  return found;
}

bool LogFollower::has(const std::string& text) {
  return indexOf(text) < m_lines.size();
}

void LogFollower::mark() {
  readOn();
  m_lines.clear();
  m_size = m_incomplete.size();
}

std::string LogFollower::lastLines() {
  std::string text;
  const std::size_t first = m_lines.size() > SHOWN_LINES ? m_lines.size() - SHOWN_LINES : 0;
  for (std::size_t index = first; index < m_lines.size(); index++) {
    text += visibleLine(m_lines[index]) + "\n";
  }
  return text;
}

// The first line that has the text; the number of lines when there is none.
std::size_t LogFollower::indexOf(const std::string& text) {
  readOn();
  const auto found = std::find_if(m_lines.begin(), m_lines.end(), [&](const std::string& line) {
    return line.find(text) != std::string::npos;
  });
  return static_cast<std::size_t>(found - m_lines.begin());
}

// Reads what the file has now, and not what is appended meanwhile.
void LogFollower::readOn() {
  // A FIFO must not be waited for.
  const FileDescriptor file(open(m_path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  struct stat status {};
  if (file.get() < 0 || fstat(file.get(), &status) != 0) {
    throw InputError(m_path + ": cannot be read: " + std::strerror(errno));
  }
  if (!S_ISREG(status.st_mode)) {
    throw InputError(m_path + ": is no regular file, which a log is");
  }
  const auto end = static_cast<std::size_t>(status.st_size);
  char block[4096];
  while (m_offset < end) {
    const ssize_t length =
        pread(file.get(), block, std::min(sizeof block, end - m_offset), static_cast<off_t>(m_offset));
    if (length <= 0) {
      throw InputError(m_path + ": cannot be read: " + std::strerror(errno));
    }
    m_offset += static_cast<std::size_t>(length);
    m_size += static_cast<std::size_t>(length);
    m_incomplete.append(block, static_cast<std::size_t>(length));
    if (std::memchr(block, '\n', static_cast<std::size_t>(length)) != nullptr) {
      takeLines();
    }
    if (m_size > MAX_KEPT) {
      throw InputError(m_path + ": has grown by more than " + std::to_string(MAX_KEPT) +
                       " bytes after the last expected line or mark, which is the most accepted");
    }
  }
}

void LogFollower::takeLines() {
  for (std::size_t end = 0; (end = m_incomplete.find('\n')) != std::string::npos;) {
    m_lines.push_back(m_incomplete.substr(0, end));
    m_incomplete.erase(0, end + 1);
    m_size += LINE_COST - 1; // the line end is counted already
  }
}
