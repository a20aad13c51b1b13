// Memory of the service and of the bare loop on a real kernel. Each value is a line
// "# measured: ITEM,SUBJECT,QUANTITY: VALUE".
#include "tests/target/support/tap_listener.h"
#include "tests/target/support/target_fixture.h"

#include <fstream>

namespace {

constexpr char BARE_LOOP[] = "/bin/bare_loop";

class MemoryCost : public TargetTest {
protected:
  // kB after a name in /proc/PID/status.
  long memory(const std::string& name) const {
    std::ifstream lines("/proc/" + std::to_string(service->pid()) + "/status");
    for (std::string line; std::getline(lines, line);) {
      if (line.compare(0, name.size(), name) == 0) {
        return std::stol(line.substr(name.size()));
      }
    }
    ADD_FAILURE() << "no " << name;
    return 0;
  }

  // What the program that runs has in memory after some cycles. What is no copy of a file is its own.
  void measure(const std::string& subject) {
    for (int message = 0; message < 5; message++) {
      status->next();
    }
    measured("memory," + subject + ",resident (kB)", std::to_string(memory("VmRSS:")));
    measured("memory," + subject + ",private (kB)", std::to_string(memory("RssAnon:")));
    killService();
    log.take();
  }
};

TEST_F(MemoryCost, OfTheServiceAndOfTheBareLoop) {
  startService();
  configureScene();
  measure("service");
  startService("/bin/bare_loop_with_libraries");
  measure("bare loop with the same libraries");
  startService(BARE_LOOP);
  measure("bare loop");
#ifdef HAS_STATIC_SERVICE
  startService("/static/poe_service");
  configureScene();
  measure("service (static)");
  startService("/bin/bare_loop_static");
  measure("bare loop (static)");
#endif
}

} // namespace
