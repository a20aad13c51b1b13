// The time of day set while the service runs.
#include "tests/target/support/time_of_day.h"

#include <chrono>
#include <thread>

namespace {

using std::chrono::seconds;

class TimeOfDayTest : public TimeOfDayFixture {
protected:
  void moveInTheSleep(seconds by) {
    waitForTheSleep();
    timeOfDay.move(by);
  }
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
  EXPECT_NE(log.takeUntil(fed, MAX_WAIT).find(fed), std::string::npos);
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
