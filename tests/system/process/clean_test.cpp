// "poectl preflight" and "poectl clean": what a killed process left goes away, what somebody serves stays.
#include "tests/support/process/listeners.h"
#include "tests/support/process/process_fixture.h"
#include "tests/support/process/started_command.h"
#include "tests/support/process/wait_until.h"
#include "tests/system/process/command.h"
#include "tests/system/process/pattern.h"

#include <csignal>

namespace {

class PoectlClean : public ServiceTest {
protected:
  // A queue that nobody has open.
  static void leave(const char* name) {
    mq_attr attributes{};
    attributes.mq_maxmsg = QUEUE_TO_POE_MESSAGES;
    attributes.mq_msgsize = QUEUE_TO_POE_MESSAGE_SIZE;
    const mqd_t queue = mq_open(name, O_CREAT | O_RDWR, 0644, &attributes);
    ASSERT_NE(queue, -1);
    mq_close(queue);
  }

  ~PoectlClean() override {
    service.reset();
    status.reset();
    mq_unlink("/queueToMain");
    mq_unlink("/queueToPoe");
  }
};

const std::string LEFT_OVER = ", but nobody serves it: its process was killed; 'poectl clean' removes it";

TEST_F(PoectlClean, RemovesTheQueuesThatNobodyServesAndNamesThem) {
  leave("/queueToPoe");
  leave("/queueToMain");
  EXPECT_EQ(poectl("preflight").output, "queue /queueToPoe exists" + LEFT_OVER + "\n");
  EXPECT_EQ(poectl("clean"), printed("removed queue /queueToPoe\nremoved queue /queueToMain\n"));
  EXPECT_EQ(poectl("clean").output, "");
  EXPECT_EQ(poectl("preflight").status, 0);
}

TEST_F(PoectlClean, LeavesTheQueuesOfARunningServiceAndMainProcess) {
  startService();
  EXPECT_EQ(poectl("clean"),
            (CommandResult{1, "left queue /queueToPoe: process " + std::to_string(service->pid()) +
                                  " (poe_service) serves it\nleft queue /queueToMain: process " +
                                  std::to_string(getpid()) + " (poe_process_tes) serves it\n"}));
  ConfigSender().send(onePort());
  EXPECT_TRUE(waitForPort0(2)) << "the service can still be configured";
}

// The main process was killed and nobody reads its queue: the service, which writes to it, is no reader.
TEST_F(PoectlClean, RemovesWhatAKilledWatchLeftUnderARunningService) {
  service = std::make_unique<ServiceProcess>();
  {
    StartedCommand watch({POECTL, "watch", "--events"});
    ASSERT_TRUE(waitUntil([] { return queueExists("/queueToMain"); }));
    watch.send(SIGKILL);
    watch.wait();
  }
  ASSERT_TRUE(waitUntil([] { return queueExists("/queueToPoe") && poectl("console help").status == 0; }));
  const std::string refusal = "poectl: queue /queueToMain exists" + LEFT_OVER;
  for (const char* const fromQueue :
       {"status --from queue", "watch --from queue --seconds 1", "watch --example --seconds 1"}) {
    EXPECT_EQ(poectl(fromQueue), (CommandResult{1, refusal + "\n"})) << fromQueue;
  }
  for (const char* const chosen : {"status", "watch --count 1"}) {
    const CommandResult fallback = poectl(chosen);
    EXPECT_EQ(fallback.status, 0) << fallback.output;
    EXPECT_EQ(fallback.output.rfind(refusal + "; the console is asked instead\n", 0), 0U) << fallback.output;
    EXPECT_NE(fallback.output.find("snapshot 1 from the console, "), std::string::npos) << fallback.output;
  }
  const CommandResult result = poectl("clean");
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.output.find("removed queue /queueToMain\n"), std::string::npos) << result.output;
  EXPECT_TRUE(queueExists("/queueToPoe"));
  status = std::make_unique<MainProcessQueue>();
  status->next(); // from now on the engine takes configurations
  ConfigSender().send(onePort());
  EXPECT_TRUE(waitForPort0(2)) << "the service can still be configured";
}

TEST_F(PoectlClean, RemovesWhatIsServedOnlyByForce) {
  startService();
  EXPECT_EQ(poectl("clean --force"), printed("removed queue /queueToPoe\nremoved queue /queueToMain\n"));
}

TEST_F(PoectlClean, LeavesAQueueWhenThePortIsTakenBySomebodyThatItCannotSee) {
  leave("/queueToPoe");
  const int listener = listenOnPort(10001);
  const CommandResult result = poectl("clean");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(
      result.output,
      "left queue /queueToPoe: it cannot be known whether somebody serves it: port 10001 on 127.0.0.1 is "
      "taken, perhaps by a service that cannot be seen from here; run this as root, or 'poectl clean "
      "--force' removes it and cuts off whoever serves it\n");
  EXPECT_TRUE(queueExists("/queueToPoe"));
  close(listener);
}

// Root's service and the queue that a user made before: the user may remove the queue, but cannot see who has
// it.
TEST_F(PoectlClean, LeavesAUsersQueueThatAServiceOfAnotherUserServes) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "only root can become another user";
  }
  leave("/queueToPoe");
  const mqd_t queue = mq_open("/queueToPoe", O_RDONLY);
  EXPECT_EQ(fchown(queue, 4711, 4711), 0);
  mq_close(queue);
  startService();
  const CommandResult result = run("setpriv --reuid 4711 --clear-groups " POECTL " clean");
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(containsPattern(result.output,
                              "left queue /queueToPoe: it cannot be known whether somebody serves it: "
                              "process [0-9]+ \\(poe_service\\) may serve it, and only root can look "
                              "into that process"))
      << result.output;
  EXPECT_TRUE(queueExists("/queueToPoe"));
}

// A process of the queue's owner that hides its descriptors, as one does that has become that user.
TEST_F(PoectlClean, LeavesAQueueWhoseOwnerHasAProcessThatCannotBeLookedInto) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "only root can become another user";
  }
  leave("/queueToMain");
  const mqd_t queue = mq_open("/queueToMain", O_RDONLY);
  EXPECT_EQ(fchown(queue, 4712, 4712), 0);
  mq_close(queue);
  int ready[2] = {};
  ASSERT_EQ(pipe(ready), 0);
  const pid_t hidden = fork();
  if (hidden == 0) {
    const bool changed = setresuid(4712, 4712, 4712) == 0;
    _exit(changed && write(ready[1], "", 1) == 1 && pause() == 0 ? 0 : 1);
  }
  char byte = 0;
  EXPECT_EQ(read(ready[0], &byte, 1), 1);
  const CommandResult result = run("setpriv --reuid 4712 --clear-groups " POECTL " clean");
  const std::string line =
      "left queue /queueToMain: it cannot be known whether somebody serves it: process " +
      std::to_string(hidden) +
      " (poe_process_tes) may serve it, and only root can look into that process; run "
      "this as root, or 'poectl clean --force' removes it and cuts off whoever serves it\n";
  EXPECT_EQ(result.output, line);
  EXPECT_EQ(result.status, 1);
  kill(hidden, SIGKILL);
  waitpid(hidden, nullptr, 0);
  close(ready[0]);
  close(ready[1]);
}

TEST_F(PoectlClean, IsNotRecommendedByPreflightBesideARunningService) {
  startService();
  const CommandResult taken = poectl("preflight");
  EXPECT_EQ(taken.status, 1);
  EXPECT_EQ(taken.output,
            "port 10001 on 127.0.0.1 is taken: a service, of which there can be only one, is running "
            "already, or another program listens there\n");
  service.reset();
  EXPECT_EQ(poectl("preflight"),
            (CommandResult{1, "queue /queueToMain exists: process " + std::to_string(getpid()) +
                                  " (poe_process_tes) serves it, and there can be only one\n"}));
}

} // namespace
