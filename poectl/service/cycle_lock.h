// How often poectl may cycle the power of a port.
#pragma once

#include "posix/file_descriptor.h"

#include <chrono>
#include <stdexcept>
#include <string>

class CycleRefusal : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

constexpr std::chrono::seconds CYCLE_INTERVAL{10};

// The right to cycle one port now. As long as it exists, no other poectl of this user gets it, nor for
// CYCLE_INTERVAL after stamp(). It is kept in a file of the user's own directory. One thread.
class CycleLock {
public:
  using Time = std::chrono::milliseconds; // since the machine started

  static Time now();

  // Throws CycleRefusal, one line: the port is being cycled, or was too recently.
  CycleLock(unsigned port, Time now);

  // The cycle begins now.
  void stamp(Time now) const;

private:
  FileDescriptor m_file;
};
