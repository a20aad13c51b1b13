// The second serial port of a machine: lines to and from the harness outside.
#pragma once

#include <string>

class SerialLine {
public:
  // Throws std::system_error.
  explicit SerialLine(const char* device);
  ~SerialLine();
  SerialLine(const SerialLine&) = delete;
  SerialLine& operator=(const SerialLine&) = delete;

  // Waits for a line and returns it without its end.
  std::string read();
  // Writes one line.
  void write(const std::string& line);

private:
  int m_fd;
  std::string m_received;
};
