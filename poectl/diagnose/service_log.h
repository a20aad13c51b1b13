// What the log of the service tells of its faults.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>

enum class LogEvent {
  START,
  BUS_ERROR,
  SET_UP_AGAIN,
  AUDIT_RESTART,
  STATUS_NOT_SENT,
  NO_STATUS_QUEUE,
  NO_ADAPTER,
  NO_ADDRESS,
  NO_CONSOLE,
  NOT_FED,
  NO_ENGINE,
  NO_QUEUE,
  RECEIVE_ENDED,
  BAD_PRIORITY,
};
constexpr std::size_t LOG_EVENTS = 14;

// What is known of one kind of line.
struct LogCount {
  unsigned total = 0;  // since the last start of the service that the log shows
  unsigned recent = 0; // while `poectl diagnose` looked on
  std::string last;    // the line itself
};

class LogEvents {
public:
  // Counts the lines of a text. `isRecent`: they came while diagnose looked on.
  void add(const std::string& text, bool isRecent);

  const LogCount& of(LogEvent event) const { return m_counts[static_cast<std::size_t>(event)]; }
  // "log: 3 lines, the last one: ..."; of the recent ones when there are any.
  std::string quote(LogEvent event) const;

private:
  void addLine(const std::string& line, bool isRecent);

  std::array<LogCount, LOG_EVENTS> m_counts;
};

class LogError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

constexpr std::size_t MAX_LOG_BYTES = std::size_t{256} * 1024; // of a log's end

// The end of a log file, and later what has been added to it. A file, not a pipe. One thread.
class LogTail {
public:
  // Takes the last MAX_LOG_BYTES. Throws LogError, one line, when the file cannot be read.
  explicit LogTail(std::string path);

  const std::string& text() const { return m_text; }

  // What has been written since, at most MAX_LOG_BYTES; a file that was replaced is read anew.
  std::string added();

private:
  std::string readFrom(long long offset);

  std::string m_path;
  long long m_end = 0; // where the next read begins
  std::string m_text;
};
