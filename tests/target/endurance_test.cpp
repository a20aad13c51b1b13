// The service over a minute or longer.
#include "tests/target/support/tap_listener.h"
#include "tests/target/support/target_fixture.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

std::string fixed(double value, const std::string& unit) {
  char text[32];
  std::snprintf(text, sizeof text, "%.4f ", value);
  return text + unit;
}

// Waits until the service sleeps: right after a message it still has the queue open.
long openDescriptors(pid_t pid) {
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  const std::filesystem::directory_iterator entries("/proc/" + std::to_string(pid) + "/fd");
  return std::distance(begin(entries), end(entries));
}

class Endurance : public TargetTest {
protected:
  // Takes this number of messages; each must be the scene's. Returns when they came.
  std::vector<Clock::time_point> takeMessages(int count) {
    std::vector<Clock::time_point> arrivals;
    for (int message = 0; message < count; message++) {
      const std::vector<char> bytes = status->nextBytes();
      arrivals.push_back(Clock::now());
      EXPECT_EQ(wordsOf({bytes.begin(), bytes.end()}), wordsOf(sceneStatusMessage()))
          << "message " << message;
    }
    return arrivals;
  }
};

// A minute, or as many as CYCLES in the environment says.
int numberOfCycles() {
  const char* named = std::getenv("CYCLES");
  return named != nullptr ? std::atoi(named) : 60;
}

// A cycle is a second of sleep and its transfers. A cycle that were left out would show as an interval of two
// seconds, a period that grows as a mean that is too long.
TEST_F(Endurance, OfManyCyclesShowsNoDriftAndNoGrowth) {
  const int cycles = numberOfCycles();
  startService();
  configureScene();
  chip->write(SCENE_REGISTERS);
  nextWholeStatus();
  takeMessages(2);
  const long memoryBefore = footprintOf(service->pid()).memory;
  const long descriptorsBefore = openDescriptors(service->pid());

  const std::vector<Clock::time_point> arrivals = takeMessages(cycles + 1);
  double shortest = 60;
  double longest = 0;
  for (std::size_t message = 1; message < arrivals.size(); message++) {
    const double interval = Seconds(arrivals[message] - arrivals[message - 1]).count();
    shortest = std::min(shortest, interval);
    longest = std::max(longest, interval);
  }
  const double mean = Seconds(arrivals.back() - arrivals.front()).count() / cycles;
  EXPECT_GE(shortest, 0.9);
  EXPECT_LE(longest, 1.5);
  EXPECT_GE(mean, 1.0);
  EXPECT_LE(mean, 1.1);
  measured("mean period of " + std::to_string(cycles) + " cycles", fixed(mean, "s"));
  measured("shortest and longest interval", fixed(shortest, "s, ") + fixed(longest, "s"));

  const long memory = footprintOf(service->pid()).memory;
  EXPECT_GT(memory, 0);
  EXPECT_LE(memory, memoryBefore + 64);
  EXPECT_EQ(openDescriptors(service->pid()), descriptorsBefore);
  measured("resident memory after " + std::to_string(cycles) + " cycles", std::to_string(memory) + " kB");
  EXPECT_EQ(log.take(), START_LOG);
}

} // namespace
