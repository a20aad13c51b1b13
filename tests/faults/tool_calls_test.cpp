// The system calls of poectl failing, one at a time. Whatever fails, poectl ends in time and not by a signal;
// it has printed all that it prints otherwise, or says why not in one line and returns 1 or 2; no queue is
// left behind.
#include "tests/faults/failing_calls.h"
#include "tests/support/process/main_process.h"

#include <array>
#include <atomic>
#include <cstdlib>
#include <fcntl.h>
#include <mqueue.h>
#include <poll.h>
#include <string>
#include <thread>
#include <unistd.h>

namespace {

class ToolCalls : public FailingCalls {
protected:
  std::size_t failEachOf(const std::string& arguments) {
    return failEach(POECTL " " + arguments, "", 4,
                    [](const Fault& /*fault*/) { return queueExists("/queueToMain") ? "queue" : ""; });
  }
};

TEST_F(ToolCalls, OfCommandsWithoutAService) {
  const std::string file = m_folder.file("card.toml");
  ASSERT_EQ(std::system((std::string(POECTL " example >") + file).c_str()), 0);
  std::size_t faults = 0;
  for (const std::string& arguments : {std::string("example"), "check " + file, "explain " + file,
                                       std::string("clean"), std::string("preflight")}) {
    faults += failEachOf(arguments);
  }
  EXPECT_GT(faults, 20U);
}

TEST_F(ToolCalls, ThatCannotLookForAQueueAreNoQueueThatIsLeftOver) {
  const End end = run(injecting({"mq_open", 1}), POECTL " preflight");
  EXPECT_EQ(end.status, 1);
  EXPECT_EQ(end.errors, "poectl: cannot look for queue /queueToPoe: Too many open files in system\n");
}

TEST_F(ToolCalls, OfASentConfiguration) {
  const std::string file = m_folder.file("card.toml");
  ASSERT_EQ(std::system((std::string(POECTL " example >") + file).c_str()), 0);
  mq_attr attributes{};
  attributes.mq_maxmsg = 10;
  attributes.mq_msgsize = 2000;
  const mqd_t service = mq_open("/queueToPoe", O_RDONLY | O_NONBLOCK | O_CREAT | O_EXCL, 0600, &attributes);
  ASSERT_GE(service, 0);
  std::array<char, 2000> message{};
  std::thread reader; // takes each message at once
  std::atomic<bool> over{false};
  reader = std::thread([&] {
    pollfd full{service, POLLIN, 0};
    while (!over) {
      if (poll(&full, 1, 50) == 1) {
        mq_receive(service, message.data(), message.size(), nullptr);
      }
    }
  });
  EXPECT_GT(failEachOf("apply " + file), 5U);
  over = true;
  reader.join();
  mq_close(service);
  mq_unlink("/queueToPoe");
}

} // namespace
