// The service as an ordinary user, with just what it needs, and what it says when one thing is missing.
#include "tests/support/process/console_connection.h"
#include "tests/support/process/process_fixture.h"
#include "tests/support/process/wait_until.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <grp.h>
#include <sstream>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

constexpr uid_t ORDINARY = 54321; // nobody's, without groups

// The test and all that it starts are the ordinary user.
class OrdinaryUser : public ServiceTest {
protected:
  void SetUp() override {
    if (geteuid() == 0) {
      ASSERT_EQ(setgroups(0, nullptr), 0) << std::strerror(errno);
      ASSERT_EQ(setresgid(ORDINARY, ORDINARY, ORDINARY), 0) << std::strerror(errno);
      ASSERT_EQ(setresuid(ORDINARY, ORDINARY, ORDINARY), 0) << std::strerror(errno);
      ASSERT_EQ(prctl(PR_SET_DUMPABLE, 1),
                0); // as a program that this user has started; a sanitizer needs it
    }
    if (access(POE_SERVICE, X_OK) != 0) {
      GTEST_SKIP() << "an ordinary user cannot run " POE_SERVICE ": " << std::strerror(errno);
    }
  }

  void startOnPluggedCard(const std::string& preparation = "") {
    ServiceOptions options;
    options.card = {"--plug", "0 class=2 watts=6"};
    options.preparation = preparation;
    service = std::make_unique<ServiceProcess>(options);
  }

  // A line of /proc/PID/status.
  std::string property(const std::string& name) const {
    std::ifstream lines("/proc/" + std::to_string(service->pid()) + "/status");
    for (std::string line; std::getline(lines, line);) {
      if (line.rfind(name + ":\t", 0) == 0) {
        return line.substr(name.size() + 2);
      }
    }
    return "";
  }

  // A queue that nobody but root may open.
  static void closeQueue(const char* name) {
    const mqd_t queue = mq_open(name, O_CREAT | O_EXCL | O_RDWR, 0, nullptr);
    ASSERT_NE(queue, -1) << std::strerror(errno);
    mq_close(queue);
  }
};

TEST_F(OrdinaryUser, WithoutAnyCapabilityPowersADeviceAndServesTheConsole) {
  status = std::make_unique<MainProcessQueue>();
  startOnPluggedCard();
  status->next();
  EXPECT_EQ(property("CapEff"), "0000000000000000");
  EXPECT_EQ(property("CapPrm"), "0000000000000000");
  EXPECT_EQ(std::stoul(property("Uid")), geteuid());
  EXPECT_NE(geteuid(), 0U);
  ConfigSender().send(onePort());
  EXPECT_TRUE(waitForPort0(3));
  EXPECT_NE(askConsole("PD69104Engine info").find("m_HwOperationMode       : NORMAL"), std::string::npos);
  EXPECT_EQ(outputAfterStart(), "");
}

TEST_F(OrdinaryUser, WithoutRightsToTheAdapterReportsAChipThatIsUnreachable) {
  status = std::make_unique<MainProcessQueue>();
  startOnPluggedCard("chmod 0 \"$UMOCKDEV_DIR/dev/i2c-0\"\n");
  EXPECT_EQ(status->next().status.mainOperStatus, 3U);
  EXPECT_NE(service->output().find("<3> SWERR ERROR DETECTED: components/PoeDriver/pd69104 294 \n"
                                   "<3> Cannot open I2C driver /dev/i2c-0: Permission denied\n"),
            std::string::npos);
}

TEST_F(OrdinaryUser, WithoutRightsToTheInboundQueueEndsWith255) {
  closeQueue("/queueToPoe");
  startOnPluggedCard();
  EXPECT_EQ(service->waitForEnd(), 255);
  EXPECT_EQ(service->output(),
            "<2> [CRITICAL] main:74 (main) - msg open  failed  /queueToPoe - Permission denied(13)\n");
}

TEST_F(OrdinaryUser, WithoutRoomForTheInboundQueueEndsWith255) {
  const rlimit room{10000, 10000}; // bytes; the queue's ten messages take 20000
  ASSERT_EQ(setrlimit(RLIMIT_MSGQUEUE, &room), 0);
  startOnPluggedCard();
  EXPECT_EQ(service->waitForEnd(), 255);
  EXPECT_EQ(service->output(),
            "<2> [CRITICAL] main:74 (main) - msg open  failed  /queueToPoe - Too many open files(24)\n");
}

TEST_F(OrdinaryUser, WithoutRightsToTheOutboundQueueReportsThatInEachCycleAndPowersTheDevice) {
  closeQueue("/queueToMain");
  startOnPluggedCard();
  const std::string report = "<3> SWERR ERROR DETECTED: components/PoeDriver/pd69104_engine 925 \n"
                             "<3> mq_open /queueToMain: Permission denied\n";
  ASSERT_TRUE(service->waitForOutput(report + report));
  ConfigSender().send(onePort());
  EXPECT_TRUE(waitUntil(
      [&] { return askConsole("PD69104Engine poeport 0").find("= DELIVERINGPOWER") != std::string::npos; }));
}

} // namespace
