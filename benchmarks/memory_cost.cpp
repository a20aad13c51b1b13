// Memory of the service and of the bare loop on a real kernel. Each value is a line
// "# measured: ITEM,SUBJECT,QUANTITY: VALUE".
#include "components/PoeDriver/poe_messages.h"
#include "platform/host/thread_stack.h"
#include "tests/support/process/console_connection.h"
#include "tests/target/support/tap_listener.h"
#include "tests/target/support/target_fixture.h"

#include <algorithm>
#include <fstream>
#include <string>
#include <vector>

namespace {

constexpr int STARTS = 5;

class MemoryCost : public TargetTest {
protected:
  // What a program has in memory after some cycles, the median of some starts: the place of its stack is
  // random and takes a page more or less. What is no copy of a file is its own.
  void measure(const std::string& subject, const std::string& program) {
    std::vector<long> resident;
    std::vector<long> own;
    for (int start = 0; start < STARTS; start++) {
      startService({program});
      takeMessages(5);
      const std::string process = "/proc/" + std::to_string(service->pid());
      resident.push_back(statusValue(process, "VmRSS:"));
      own.push_back(statusValue(process, "RssAnon:"));
      killService();
      log.take();
    }
    measured("memory," + subject + ",resident (kB)", std::to_string(medianOf(resident)));
    measured("memory," + subject + ",private (kB)", std::to_string(medianOf(own)));
  }

  static long medianOf(std::vector<long> values) {
    std::nth_element(values.begin(), values.begin() + STARTS / 2, values.end());
    return values[STARTS / 2];
  }

  // kB of the stack of which most is in memory, of all but the main thread: a stack is known by its size.
  long deepestStack() const {
    const std::string wanted = std::to_string(THREAD_STACK_SIZE / 1024) + " kB";
    std::ifstream lines("/proc/" + std::to_string(service->pid()) + "/smaps");
    long deepest = 0;
    bool isStack = false;
    for (std::string line; std::getline(lines, line);) {
      if (line.compare(0, 5, "Size:") == 0) {
        isStack = line.find(" " + wanted) != std::string::npos;
      } else if (isStack && line.compare(0, 4, "Rss:") == 0) {
        deepest = std::max(deepest, std::stol(line.substr(4)));
      }
    }
    return deepest;
  }
};

TEST_F(MemoryCost, OfTheServiceAndOfTheBareLoop) {
  measure("service", SERVICE);
  measure("bare loop with the same libraries", "/bin/bare_loop_with_libraries");
  measure("bare loop", "/bin/bare_loop");
#ifdef HAS_STATIC_SERVICE
  measure("service (static)", "/static/poe_service");
  measure("bare loop (static)", "/bin/bare_loop_static");
#endif
}

// After a configuration and every command, also those that the service refuses.
TEST_F(MemoryCost, OfTheDeepestStackIsLessThanHalfOfIt) {
  startService();
  configureScene();
  {
    const ConsoleConnection console(CONSOLE_PORT);
    console.receiveReply();
    for (const char* command : {"", " help", " info", " device", " channel 1", " poeport 1", " readReg 67",
                                " readReg x", " writeReg 18 0", " nothing"}) {
      console.ask(std::string("PD69104Engine") + command);
    }
    console.ask("help");
  }
  takeMessages(3);
  const long deepest = deepestStack();
  measured("memory,service,deepest stack (kB)", std::to_string(deepest));
  EXPECT_GT(deepest, 0);
  EXPECT_LE(deepest, static_cast<long>(THREAD_STACK_SIZE / 2048));
  killService();
  log.take();
}

} // namespace
