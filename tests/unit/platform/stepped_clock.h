// Stops the monotonic clock of the program under test while it lives; the test moves it on. Who waits for a
// condition until a time on that clock is woken when the test has reached it. One at a time.
#pragma once

#include <cstdint>

class SteppedClock {
public:
  // The clock stands at `milliseconds`.
  explicit SteppedClock(std::uint64_t milliseconds);
  SteppedClock(const SteppedClock&) = delete;
  SteppedClock& operator=(const SteppedClock&) = delete;
  ~SteppedClock();

  static void advance(std::uint64_t milliseconds);

  // Waits until a thread waits for a later time, for at most ten seconds; whether one does.
  static bool isWaitedFor();
};
