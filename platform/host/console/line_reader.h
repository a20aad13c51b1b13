// Makes lines out of the bytes of one console client, in a buffer of fixed size.
//
// Knows nothing of sockets: whoever reads puts the bytes into the free space and says how many. For one
// thread.
#pragma once

#include <array>
#include <cstddef>
#include <string>

class LineReader {
public:
  static constexpr std::size_t MAX_LINE_LENGTH = 1024; // bytes, the line end not counted

  enum class Result {
    NONE,     // no line is complete
    LINE,     // a line was taken
    TOO_LONG, // a line of more than MAX_LINE_LENGTH bytes was thrown away, as a whole
  };

  // Where the next bytes go and how many there is room for, which is never 0 after next() has answered NONE.
  char* space() { return m_bytes.data() + m_used; }
  std::size_t spaceSize() const { return m_bytes.size() - m_used; }

  // `count` bytes have been put into the free space.
  void added(std::size_t count) { m_used += count; }

  // True when next() would answer anything but NONE.
  bool hasLine() const;

  // Takes the next line, which ends with "\n" or "\r\n", without its end.
  Result next(std::string* line);

private:
  void drop(std::size_t count);

  std::array<char, 2 * MAX_LINE_LENGTH> m_bytes;
  std::size_t m_used = 0;
  bool m_skipping = false; // the start of an overlong line has been thrown away already
};
