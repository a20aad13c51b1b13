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
  // Passes a command on to the card outside. Returns the lines of the reply and the empty line after them.
  std::string askCard(const std::string& words);

private:
  int m_fd;
  std::string m_received;
};
