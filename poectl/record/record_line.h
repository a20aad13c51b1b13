// One line of a record file.
#pragma once

#include "poectl/status/snapshot.h"

#include <stdexcept>
#include <string>

constexpr std::size_t MAX_RECORD_LINE = 65536; // bytes; poectl writes less than a tenth of it
constexpr std::size_t MAX_RECORD_TEXT = 1024;  // bytes: of a port's name or faults

// A line that is no record. The text says what is wrong and what is accepted.
class RecordLineError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

// The snapshot of which snapshotJsonLine() makes this line; times have whole milliseconds. Unknown keys and
// the words beside the codes are ignored. A record of the queue must have every field. Throws
// RecordLineError.
Snapshot parseRecord(const std::string& line);
