// Times of day as text.
#include "poectl/timestamp.h"

#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>

namespace {

using std::chrono::milliseconds;
using Time = std::chrono::system_clock::time_point;

TEST(IsoTime, IsUtcWithMilliseconds) {
  EXPECT_EQ(isoTime(Time(milliseconds(1714979289123))), "2024-05-06T07:08:09.123Z");
  EXPECT_EQ(isoTime(Time(milliseconds(7))), "1970-01-01T00:00:00.007Z");
}

TEST(TimeOfDay, IsLocal) {
  setenv("TZ", "XXX-2", 1); // two hours east of Greenwich
  tzset();
  EXPECT_EQ(timeOfDay(Time(milliseconds(1714979289123))), "09:08:09");
  unsetenv("TZ");
  tzset();
}

} // namespace
