// The transfers of the bus in a file, one line each:
//
//   R 0x43 0x41           read, register, value
//   W 0x12 0xFF           written
//   R 0x43 failed
//   W 0x12 0xFF failed
//
// and in front of that, when asked for, the seconds since the start. A line is in
// the file when the transfer is over. Not for use from two threads at once.
#pragma once

#include <chrono>
#include <cstdint>
#include <fstream>
#include <string>

class TransferRecord {
public:
  // Begins an empty file. Throws std::runtime_error.
  TransferRecord(const std::string& path, bool withTimes);

  void read(std::chrono::nanoseconds at, std::uint8_t address, std::uint8_t value, bool done);
  void write(std::chrono::nanoseconds at, std::uint8_t address, std::uint8_t value, bool done);
  // False: the file did not take all lines.
  bool complete() const { return m_file.good(); }

private:
  void beginLine(std::chrono::nanoseconds at, char direction, std::uint8_t address);

  std::ofstream m_file;
  bool m_withTimes;
};
