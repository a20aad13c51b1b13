#include "tests/target/support/time_of_day.h"

#include "tests/target/support/tap_listener.h"

#include <cerrno>
#include <cstring>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::time_t NEW_YEAR_2026 = 1767225600;

void setTo(const timespec& time) {
  EXPECT_EQ(clock_settime(CLOCK_REALTIME, &time), 0) << std::strerror(errno);
}

} // namespace

TimeOfDay::TimeOfDay() {
  setTo({NEW_YEAR_2026, 0});
}

TimeOfDay::~TimeOfDay() {
  move(-m_moved);
}

void TimeOfDay::move(std::chrono::seconds by) {
  timespec time{};
  clock_gettime(CLOCK_REALTIME, &time);
  time.tv_sec += static_cast<std::time_t>(by.count());
  setTo(time);
  m_moved += by;
}

void TimeOfDay::set(std::time_t time) {
  move(std::chrono::seconds(time - now()));
}

std::time_t TimeOfDay::now() {
  timespec time{};
  clock_gettime(CLOCK_REALTIME, &time);
  return time.tv_sec;
}

void TimeOfDayFixture::waitForTheSleep() {
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
}

void TimeOfDayFixture::expectCycles(int count) {
  status->next();
  const auto begin = Clock::now();
  for (int message = 0; message < count; message++) {
    status->next();
  }
  const double mean = std::chrono::duration<double>(Clock::now() - begin).count() / count;
  EXPECT_GE(mean, 0.9);
  EXPECT_LE(mean, 1.2);
  measured("mean period of " + std::to_string(count) + " cycles", std::to_string(mean) + " s");
}
