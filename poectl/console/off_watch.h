// Follows the power of a port that has been switched off.
#pragma once

#include <chrono>
#include <string>

// By the console's report "channel", which makes no transfer on the chip's bus. Throws ConsoleError. `stop`
// as in ConsoleWait.
bool hasPower(unsigned port, std::chrono::milliseconds limit, int stop);

struct OffWait {
  std::chrono::milliseconds least; // from `since` on; then the port must be off
  std::chrono::milliseconds most;
  bool endsWhenBack; // power that comes back after the port was seen to be off ends the watch
  int stop;          // a descriptor that ends it early when it becomes readable, or PeerConnection::NO_STOP
};

struct OffWatch {
  enum class End { OFF, BACK, UNKNOWN };
  End end;
  std::string doubt; // why it is UNKNOWN whether the port was off
};

// Looks every 200 ms from the start, because a main process may switch the port on again within 1 s.
OffWatch watchOff(unsigned port, std::chrono::steady_clock::time_point since, const OffWait& wait);
