// Times of day as text.
#include "poectl/status/timestamp.h"

#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>

namespace {

using std::chrono::milliseconds;
using Time = std::chrono::system_clock::time_point;

// Two hours east of Greenwich.
class TimeText : public ::testing::Test {
protected:
  TimeText() {
    setenv("TZ", "XXX-2", 1);
    tzset();
  }
  ~TimeText() override {
    unsetenv("TZ");
    tzset();
  }
};

TEST_F(TimeText, OfAProgramIsUtcWithMilliseconds) {
  EXPECT_EQ(isoTime(Time(milliseconds(1714979289123))), "2024-05-06T07:08:09.123Z");
  EXPECT_EQ(isoTime(Time(milliseconds(7))), "1970-01-01T00:00:00.007Z");
}

TEST_F(TimeText, IsRightWhere32BitsOfSecondsEnd) {
  EXPECT_EQ(isoTime(Time(std::chrono::seconds(2147483648))), "2038-01-19T03:14:08.000Z");
  EXPECT_EQ(isoTime(Time(std::chrono::seconds(4294967296))), "2106-02-07T06:28:16.000Z");
  EXPECT_EQ(timeOfDay(Time(std::chrono::seconds(2147483648))), "05:14:08");
}

TEST_F(TimeText, OfAProgramIsReadOnlyAsItIsWritten) {
  for (const long long time_ms :
       {0LL, 7LL, 1714979289123LL, 2147483648000LL, 4294967296000LL, 5680281599999LL}) {
    const Time time{milliseconds(time_ms)};
    EXPECT_EQ(timeFromIso(isoTime(time)), time) << time_ms;
  }
  for (const char* const text :
       {"", "2024", "2024-05-06T07:08:09Z", "2024-05-06T07:08:09.123", "2024-05-06T07:08:09.123z",
        "2024-05-06T07:08:09.123Z ", " 2024-05-06T07:08:09.123Z", "2024-5-06T07:08:09.123Z",
        "2024-02-30T07:08:09.123Z", "2024-05-06T07:08:60.123Z", "2024-05-06T-7:08:09.123Z",
        "1969-12-31T23:59:59.999Z", "2150-01-01T00:00:00.000Z"}) {
    EXPECT_FALSE(timeFromIso(text)) << text;
  }
}

TEST_F(TimeText, OfAPersonIsLocal) {
  EXPECT_EQ(timeOfDay(Time(milliseconds(1714979289123))), "09:08:09");
}

} // namespace
