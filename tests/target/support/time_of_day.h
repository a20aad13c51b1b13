// The machine's time of day, set by a test while the service runs.
#pragma once

#include "tests/target/support/target_fixture.h"

#include <chrono>
#include <ctime>

// Moves the time of day; the end of the test puts it back. A machine without a clock of its own starts in
// 1970, where it cannot be set back, so the time of day starts in 2026.
class TimeOfDay {
public:
  TimeOfDay();
  TimeOfDay(const TimeOfDay&) = delete;
  TimeOfDay& operator=(const TimeOfDay&) = delete;
  ~TimeOfDay();

  void move(std::chrono::seconds by);
  void set(std::time_t time); // seconds since 1970
  static std::time_t now();

private:
  std::chrono::seconds m_moved{0};
};

class TimeOfDayFixture : public TargetTest {
protected:
  // Waits until the worker sleeps between two cycles: half a second, because right after a message it may not
  // sleep yet.
  static void waitForTheSleep();

  // Takes one message and this number more: one a second, whatever the time of day does.
  void expectCycles(int count);

  TimeOfDay timeOfDay;
};
