// A time after which something ends.
#pragma once

#include <algorithm>
#include <chrono>

class TimeLimit {
public:
  // From now on; 0 s: it never ends.
  explicit TimeLimit(double seconds) : m_seconds(seconds) {}

  bool isOver() const { return m_seconds > 0 && left() <= 0; }

  // The time to wait until the end, at most `time`.
  std::chrono::milliseconds orLess(std::chrono::milliseconds time) const {
    if (m_seconds <= 0) {
      return time;
    }
    const std::chrono::duration<double> wait(std::max(left(), 0.0));
    return wait < time ? std::chrono::ceil<std::chrono::milliseconds>(wait) : time;
  }

private:
  using Clock = std::chrono::steady_clock;

  double left() const { return m_seconds - std::chrono::duration<double>(Clock::now() - m_start).count(); }

  const double m_seconds;
  const Clock::time_point m_start = Clock::now();
};
