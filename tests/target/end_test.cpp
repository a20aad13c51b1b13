// The service's end and restart.
#include "tests/target/support/target_fixture.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

// The descriptor of the service's inbound queue.
int queueDescriptorOf(pid_t pid) {
  for (const auto& entry : std::filesystem::directory_iterator("/proc/" + std::to_string(pid) + "/fd")) {
    if (std::filesystem::read_symlink(entry.path()) == QUEUE_TO_POE) {
      return std::stoi(entry.path().filename());
    }
  }
  ADD_FAILURE() << "the service has no queue";
  return -1;
}

// The service has no command that ends it: its loop ends when a receive fails. The descriptor is shared with
// the service and made non-blocking, so that the next receive finds no message.
void makeReceiveFail(pid_t pid, int descriptor) {
  const int process = static_cast<int>(syscall(SYS_pidfd_open, pid, 0));
  const int queue = static_cast<int>(syscall(SYS_pidfd_getfd, process, descriptor, 0));
  ASSERT_GE(queue, 0) << std::strerror(errno);
  mq_attr nonBlocking{};
  nonBlocking.mq_flags = O_NONBLOCK;
  EXPECT_EQ(mq_setattr(queue, &nonBlocking, nullptr), 0);
  close(queue);
  close(process);
}

using End = TargetTest;

TEST_F(End, ByAFailedReceiveIsOrderlyRemovesTheQueueAndAllowsARestart) {
  startService();
  const int descriptor = queueDescriptorOf(service->pid());
  makeReceiveFail(service->pid(), descriptor);
  EXPECT_EQ(service->wait(), 0);
  EXPECT_FALSE(queueExists(QUEUE_TO_POE));
  char failure[128];
  std::snprintf(
      failure, sizeof failure,
      "<2> [CRITICAL] main:126 (main) - msg receive failed mqd=%x - Resource temporarily unavailable\n",
      static_cast<unsigned>(descriptor));
  EXPECT_EQ(log.take(), START_LOG + failure);
  EXPECT_EQ(service->output(), START_OUTPUT);
  startService();
  configureScene();
  EXPECT_EQ(chip->read(0x82), 30);
  EXPECT_EQ(log.take(), START_LOG);
}

TEST_F(End, ByASignalLeavesTheQueueAndARestartTakesWhatIsInIt) {
  startService();
  killService();
  EXPECT_TRUE(queueExists(QUEUE_TO_POE));
  EXPECT_EQ(log.take(), START_LOG);
  startService();
  configureScene();
  EXPECT_EQ(chip->read(0x82), 30);
  EXPECT_EQ(log.take(), START_LOG);
}

TEST_F(End, OfAServiceThatGetsNoQueueHasTheStatus255) {
  const rlimit none{0, 0};
  service = std::make_unique<Program>(std::vector<std::string>{SERVICE},
                                      [&] { setrlimit(RLIMIT_MSGQUEUE, &none); });
  EXPECT_EQ(service->wait(), 255);
  EXPECT_EQ(service->output(), "");
  EXPECT_EQ(log.take(),
            "<2> [CRITICAL] main:74 (main) - msg open  failed  /queueToPoe - Too many open files(24)\n");
}

} // namespace
