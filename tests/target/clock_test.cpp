// The time of day set while the service runs.
#include "tests/target/tap_listener.h"
#include "tests/target/target_fixture.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <ctime>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::seconds;

constexpr time_t NEW_YEAR_2026 = 1767225600;

// Moves the time of day; the end of the test puts it back. A machine without a clock of its own starts in
// 1970, where it cannot be set back.
class TimeOfDay {
public:
  TimeOfDay() {
    const timespec start{NEW_YEAR_2026, 0};
    EXPECT_EQ(clock_settime(CLOCK_REALTIME, &start), 0) << std::strerror(errno);
  }
  TimeOfDay(const TimeOfDay&) = delete;
  TimeOfDay& operator=(const TimeOfDay&) = delete;
  ~TimeOfDay() { move(-m_moved); }

  void move(seconds by) {
    timespec time{};
    clock_gettime(CLOCK_REALTIME, &time);
    time.tv_sec += static_cast<time_t>(by.count());
    EXPECT_EQ(clock_settime(CLOCK_REALTIME, &time), 0) << std::strerror(errno);
    m_moved += by;
  }

private:
  seconds m_moved{0};
};

class TimeOfDayTest : public TargetTest {
protected:
  // Moves the time of day while the worker sleeps between two cycles. Right behind a message it may not sleep
  // yet.
  void moveInTheSleep(seconds by) {
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    timeOfDay.move(by);
  }

  // Takes one message and this number more: one a second, whatever the time of day does.
  void expectCycles(int count) {
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

  TimeOfDay timeOfDay;
};

TEST_F(TimeOfDayTest, SetForwardAndBackLeavesTheCycleAtItsPaceAndConfigurationsComeThrough) {
  startService();
  for (const int hours : {1, -1, 24 * 365, -24 * 365, -1, 1}) {
    moveInTheSleep(std::chrono::hours(hours));
    expectCycles(2);
  }
  configureScene();
  EXPECT_EQ(log.take(), START_LOG);
}

// The receive waits for a time of day, so it waits as long as the time of day was set back, or until a
// message comes.
TEST_F(TimeOfDayTest, SetBackHoldsTheReceiveLoopUntilTheNextMessage) {
  startService();
  std::string lines = log.take();
  moveInTheSleep(std::chrono::hours(-1));
  expectCycles(63);
  lines += log.take();
  const std::string late = "<2> watchdog client PoeMain not fed for 6";
  EXPECT_NE(lines.find(late), std::string::npos) << lines;
  EXPECT_EQ(lines.find("PoeEngine"), std::string::npos) << lines;

  configureScene();
  const std::string fed = "<2> watchdog client PoeMain fed again after 6";
  EXPECT_NE(log.takeUntil(fed, PATIENCE).find(fed), std::string::npos);
  expectCycles(3);
}

// So does the send to a queue that is full, until the queue has room.
TEST_F(TimeOfDayTest, SetBackHoldsTheWorkerWhileTheStatusQueueIsFull) {
  startService();
  status->fill();
  for (int times = 0; times < 25; times++) { // in 2.5 s, of which the worker waits in the queue for 1 s
    timeOfDay.move(std::chrono::hours(-1));
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
  log.take();
  std::this_thread::sleep_for(seconds(5));
  EXPECT_EQ(log.take(), "") << "the worker does not wait for the time of day";
  while (status->nextBytes().size() != sizeof(PoeStatusMessage)) {
  }
  expectCycles(3);
}

} // namespace
