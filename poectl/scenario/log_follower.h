// A log file that another process appends to.
#pragma once

#include <string>
#include <vector>

// Looks at a log from its beginning, and from behind a line that was found on. One thread.
class LogFollower {
public:
  // Throws InputError when the file cannot be read.
  explicit LogFollower(std::string path);

  // Whether a line, complete with its line end, has the text. find() goes on behind that line.
  bool find(const std::string& text);
  bool has(const std::string& text);

  // The last few of the lines that find() has not gone past.
  std::string lastLines();

private:
  void readOn();
  std::size_t indexOf(const std::string& text);

  const std::string m_path;
  std::size_t m_offset = 0; // of what has not been read, in bytes
  std::string m_incomplete; // the start of a line whose end has not been written
  std::vector<std::string> m_lines;
  std::size_t m_next = 0; // first line that find() looks at
};
