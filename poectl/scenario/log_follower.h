// A log file that another process appends to.
#pragma once

#include <cstddef>
#include <deque>
#include <string>

// Looks at a log from its beginning, and after a line that was found. Keeps at most 16 MiB of it.
// One thread.
class LogFollower {
public:
  // This and all others throw InputError when it is no file, cannot be read, or is more than can be kept.
  explicit LogFollower(std::string path);

  // Whether a line, complete with its line end, has the text. find() goes on after that line.
  bool find(const std::string& text);
  bool has(const std::string& text);

  // Goes on after all lines that the log has now.
  void mark();

  // The last few of the lines that find() and mark() have not gone past, with control characters made
  // visible.
  std::string lastLines();

private:
  void readOn();
  void takeLines();
  std::size_t indexOf(const std::string& text);

  const std::string m_path;
  std::size_t m_offset = 0;        // of what has not been read, in bytes
  std::string m_incomplete;        // the start of a line whose end has not been written
  std::deque<std::string> m_lines; // that find() looks at
  std::size_t m_size = 0;          // of all these in memory, in bytes
};
