// Start and end of the real process: the order of the steps, and each step failing.
#include "posix/file_descriptor.h"
#include "tests/support/process/listeners.h"
#include "tests/support/process/process_fixture.h"

#include <fcntl.h>
#include <filesystem>
#include <map>
#include <optional>

namespace {

using StartUp = ServiceTest;

TEST_F(StartUp, WritesItsMilestonesInOrderAndAtOnceAlsoIntoAFile) {
  startService();
  EXPECT_EQ(outputAfterStart(), "");
}

// What the descriptors of a process stand for.
std::map<int, std::filesystem::path> descriptorsOf(pid_t process) {
  std::map<int, std::filesystem::path> descriptors;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/fd")) {
    std::error_code closedSince;
    descriptors[std::stoi(entry.path().filename())] =
        std::filesystem::read_symlink(entry.path(), closedSince);
  }
  return descriptors;
}

// With the port taken, nothing else is opened between the queue and the adapter.
TEST_F(StartUp, WithClosedStandardDescriptorsWritesNothingToTheBus) {
  std::optional<std::uintmax_t> untouched; // size of the file that stands for the adapter
  for (const char* closed : {"", "<&-", ">&-", "<&- >&-", ">&- 2>&-", "<&- >&- 2>&-"}) {
    const FileDescriptor taken(listenOnPort(10001));
    startService({{}, {}, std::string("exec ") + closed + "; "});
    const std::map<int, std::filesystem::path> descriptors = descriptorsOf(service->pid());
    std::filesystem::path bus;
    for (const auto& [number, path] : descriptors) {
      if (path.filename() == "i2c-0") {
        EXPECT_GT(number, 2) << closed;
        bus = path;
      }
    }
    ASSERT_FALSE(bus.empty()) << closed;
    untouched = untouched.value_or(std::filesystem::file_size(bus));
    EXPECT_EQ(std::filesystem::file_size(bus), untouched) << closed;
    EXPECT_EQ(service->interrupt(), 0);
    service.reset();
    status.reset();
  }
}

TEST_F(StartUp, WithClosedStandardDescriptorsHasDevNullInTheirPlaces) {
  startService({{}, {}, "exec <&- >&- 2>&-; "});
  const std::map<int, std::filesystem::path> descriptors = descriptorsOf(service->pid());
  for (const int standard : {0, 1, 2}) {
    EXPECT_EQ(descriptors.at(standard), "/dev/null") << standard;
  }
  EXPECT_EQ(service->interrupt(), 0);
}

using End = ServiceTest;

TEST_F(End, AnInterruptedReceiveEndsTheServiceInOrderWithStatusZero) {
  startService();
  EXPECT_EQ(service->interrupt(), 0);
  EXPECT_TRUE(endsInterrupted(outputAfterStart())) << outputAfterStart();
  EXPECT_FALSE(queueExists("/queueToPoe"));
  EXPECT_TRUE(queueExists("/queueToMain"));
}

TEST_F(End, AReceiveThatFailsOtherwiseEndsTheServiceInOrderTooAndTheQueueGoesWithItsMessages) {
  mq_attr larger{};
  larger.mq_maxmsg = 2;
  larger.mq_msgsize = 4096; // more than the service's buffer
  const mqd_t queue = mq_open("/queueToPoe", O_CREAT | O_EXCL | O_RDWR, 0600, &larger);
  ASSERT_NE(queue, -1);
  mq_close(queue);
  ConfigSender().send(onePort());
  service = std::make_unique<ServiceProcess>();
  EXPECT_EQ(service->waitForEnd(), 0);
  EXPECT_NE(service->output().find(" - Message too long\n"), std::string::npos);
  EXPECT_FALSE(queueExists("/queueToPoe"));
}

} // namespace
