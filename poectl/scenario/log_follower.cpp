#include "poectl/scenario/log_follower.h"

#include "poectl/config/input_file.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>

namespace {

constexpr std::size_t SHOWN_LINES = 5;

} // namespace

LogFollower::LogFollower(std::string path) : m_path(std::move(path)) {
  readOn();
}

bool LogFollower::find(const std::string& text) {
  const std::size_t index = indexOf(text);
  const bool found = index < m_lines.size();
  m_next = found ? index + 1 : m_next;
  return found;
}

bool LogFollower::has(const std::string& text) {
  return indexOf(text) < m_lines.size();
}

std::string LogFollower::lastLines() {
  std::string text;
  const std::size_t first = m_lines.size() > SHOWN_LINES ? m_lines.size() - SHOWN_LINES : 0;
  for (std::size_t index = std::max(first, m_next); index < m_lines.size(); index++) {
    text += m_lines[index] + "\n";
  }
  return text;
}

// The first line from m_next on that has the text; the number of lines when there is none.
std::size_t LogFollower::indexOf(const std::string& text) {
  readOn();
  const auto found =
      std::find_if(m_lines.begin() + static_cast<std::ptrdiff_t>(m_next), m_lines.end(),
                   [&](const std::string& line) { return line.find(text) != std::string::npos; });
  return static_cast<std::size_t>(found - m_lines.begin());
}

void LogFollower::readOn() {
  std::ifstream file(m_path, std::ios::binary);
  if (!file.seekg(static_cast<std::streamoff>(m_offset))) {
    throw InputError(m_path + ": cannot be read: " + std::strerror(errno));
  }
  char block[4096];
  while (file.read(block, sizeof block) || file.gcount() > 0) {
    m_offset += static_cast<std::size_t>(file.gcount());
    m_incomplete.append(block, static_cast<std::size_t>(file.gcount()));
  }
  for (std::size_t end = 0; (end = m_incomplete.find('\n')) != std::string::npos;) {
    m_lines.push_back(m_incomplete.substr(0, end));
    m_incomplete.erase(0, end + 1);
  }
}
