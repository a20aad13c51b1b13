// The transfers of the bus in a file, one line each:
//
//   R 0x43 0x41           read, register, value
//   W 0x12 0xFF           written
//   R 0x43 failed
//   W 0x12 0xFF failed
//   R 0x05 0x00 unknown   the data sheet does not describe the register
//   R 0xCF failed unknown
//   W 0x91 0x08 read-only
//
// and in front of that, when asked for, the seconds since the start. A line is in the file when the transfer
// is over. Not for use from two threads at once.
#pragma once

#include "simulator/chip/chip_access.h"

#include <chrono>
#include <cstdint>
#include <fstream>
#include <string>

struct Transfer {
  enum class Direction : std::uint8_t { Read, Write };

  Direction direction;
  std::uint8_t address;
  std::uint8_t value; // without a meaning in a read that failed
  bool done;
  ChipAccess access; // Regular for a transfer that did not reach the chip
};

class TransferRecord {
public:
  // Begins an empty file. Throws std::runtime_error.
  TransferRecord(const std::string& path, bool withTimes);

  void add(std::chrono::nanoseconds at, const Transfer& transfer);
  // False: the file did not take all lines.
  bool complete() const { return m_file.good(); }

private:
  std::ofstream m_file;
  bool m_withTimes;
};
