// The transfers that the service has made, played back to the model: the model must make the same ones in the
// same order, and gets the same answers. The first difference is kept as text.
#pragma once

#include "tests/support/doubles/i2c_bus.h"

#include <cstddef>
#include <string>

class RecordedBus {
public:
  // Replaces what is played back; what was left over is a difference.
  void play(Transfers transfers);

  // False: the transfer failed, or the service did not make it.
  bool read(unsigned reg, unsigned* value);
  bool write(unsigned reg, unsigned value);

  // The first difference since the last call, also one of transfers left over; empty when there is none.
  std::string takeDifference();

private:
  const Transfer* next(char kind, unsigned reg, unsigned value);

  Transfers m_transfers;
  std::size_t m_position = 0;
  std::string m_difference;
};
