// Processor time, system calls and wake-ups of a cycle on a real kernel, of the service, of the bare loop and
// of a shell that calls i2cget. Each value is a line "# measured: ITEM,SUBJECT,QUANTITY: VALUE".
#include "benchmarks/system_calls.h"
#include "tests/target/support/tap_listener.h"
#include "tests/target/support/target_fixture.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <numeric>
#include <sys/resource.h>

namespace {

constexpr char BARE_LOOP[] = "/bin/bare_loop";
constexpr std::chrono::minutes PATIENCE_WITH_A_SHELL{30}; // emulated, it takes a second for a cycle and more

// From the environment, so that a quick look is possible.
int cycleCount() {
  const char* text = std::getenv("CYCLES");
  return text != nullptr ? std::atoi(text) : 60;
}

// Time that each thread of a process has had of the processor, in microseconds, by its number.
using ThreadTimes = std::map<std::string, double>;

ThreadTimes processorTimes(pid_t pid) {
  ThreadTimes times;
  for (const auto& thread : std::filesystem::directory_iterator("/proc/" + std::to_string(pid) + "/task")) {
    double nanoseconds = 0;
    std::ifstream(thread.path() / "schedstat") >> nanoseconds;
    times[thread.path().filename()] = nanoseconds / 1000;
  }
  return times;
}

// How often the threads of a process have given up the processor to wait.
long voluntarySwitches(pid_t pid) {
  long sum = 0;
  for (const auto& thread : std::filesystem::directory_iterator("/proc/" + std::to_string(pid) + "/task")) {
    sum += statusValue(thread.path(), "voluntary_ctxt_switches:");
  }
  return sum;
}

// Microseconds of a cycle: of all threads, and of the busiest, which is the one that makes the transfers.
struct CycleTime {
  double all = 0;
  double busiest = 0;
};

// The time of all programs that this one has started and that have ended, in microseconds.
double processorTimeOfChildren() {
  rusage usage{};
  getrusage(RUSAGE_CHILDREN, &usage);
  return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1e6 +
         static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
}

class CycleCost : public TargetTest {
protected:
  // Of the program that runs.
  CycleTime processorTimeOfACycle() {
    const int cycles = cycleCount();
    takeMessages(2);
    ThreadTimes before = processorTimes(service->pid());
    takeMessages(cycles);
    CycleTime cycle;
    for (const auto& [thread, time] : processorTimes(service->pid())) {
      const double used = (time - before[thread]) / cycles;
      cycle.all += used;
      cycle.busiest = std::max(cycle.busiest, used);
    }
    EXPECT_GT(cycle.all, 0);
    return cycle;
  }

  // Microseconds of 64 times i2cget.
  static double processorTimeOfAShell() {
    const int cycles = cycleCount();
    const double before = processorTimeOfChildren();
    const Result shell =
        run({"/bin/busybox", "sh", "/bin/i2cget_loop", std::to_string(cycles)}, PATIENCE_WITH_A_SHELL);
    EXPECT_EQ(shell.status, 0) << shell.output;
    return (processorTimeOfChildren() - before) / cycles;
  }

  // The calls of a cycle of the program, of all its threads.
  double systemCallsOfACycle(const std::string& program) {
    const int cycles = 20;
    startService(traced(program));
    takeMessages(cycles + 3);
    killService();
    const SystemCalls calls = callsOfCycles(cycles);
    EXPECT_EQ(calls.at("ioctl"), 64 * cycles);
    const int all = std::accumulate(calls.begin(), calls.end(), 0,
                                    [](int sum, const auto& call) { return sum + call.second; });
    return static_cast<double>(all) / cycles;
  }
};

TEST_F(CycleCost, InTimeOfTheProcessor) {
  startService();
  configureScene();
  const CycleTime ofService = processorTimeOfACycle();
  measured("kernel,service,cpu (us)", ofService.all);
  measured("kernel,its worker thread,cpu (us)", ofService.busiest);
  killService();
  log.take();

  startService({BARE_LOOP});
  measured("kernel,bare loop,cpu (us)", processorTimeOfACycle().all);
  killService();
  measured("kernel,shell with i2cget,cpu (us)", processorTimeOfAShell());
}

// The worker's second and the receive loop's are all that wakes the process.
TEST_F(CycleCost, InWakeUpsIsTwoASecond) {
  using Clock = std::chrono::steady_clock;
  startService();
  takeMessages(2);
  const long before = voluntarySwitches(service->pid());
  const Clock::time_point begin = Clock::now();
  takeMessages(cycleCount());
  const auto switches = static_cast<double>(voluntarySwitches(service->pid()) - before);
  const double rate = switches / std::chrono::duration<double>(Clock::now() - begin).count();
  measured("kernel,service,wake-ups a second", rate);
  EXPECT_LE(rate, 2.05);
  log.take();
}

// The receive loop has a second of its own, which is shorter than a cycle that is traced: a few of its calls
// more fall into one.
TEST_F(CycleCost, InSystemCallsIsTheTransfersAndSixMore) {
  const double calls = systemCallsOfACycle(SERVICE);
  measured("kernel,service,system calls", calls);
  EXPECT_LT(calls, 71);
  measured("kernel,bare loop,system calls", systemCallsOfACycle(BARE_LOOP));
  log.take();
}

} // namespace
