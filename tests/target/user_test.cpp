// The service as an ordinary user, at the real adapter, queues and log.
#include "tests/target/support/target_fixture.h"

#include <cerrno>
#include <cstring>
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr gid_t GROUP = 54321; // the adapter's, and the service's only one
constexpr uid_t USER = 54321;
constexpr char ADAPTER[] = "/dev/i2c-0";

void becomeOrdinaryUser() {
  if (setgroups(0, nullptr) != 0 || setresgid(GROUP, GROUP, GROUP) != 0 || setresuid(USER, USER, USER) != 0) {
    _exit(126);
  }
}

class OrdinaryUser : public TargetTest {
protected:
  void startAsOrdinaryUser() {
    status = std::make_unique<MainProcessQueue>();
    status->openToEverybody();
    service = std::make_unique<Program>(std::vector<std::string>{SERVICE}, becomeOrdinaryUser);
    status->next();
  }
};

TEST_F(OrdinaryUser, OfTheAdaptersGroupDrivesTheChip) {
  ASSERT_EQ(chown(ADAPTER, 0, GROUP), 0) << std::strerror(errno);
  ASSERT_EQ(chmod(ADAPTER, 0660), 0);
  startAsOrdinaryUser();
  configureScene();
  EXPECT_EQ(chip->read(0x89), 100);
  EXPECT_EQ(run({"/bin/poectl", "console", "help"}).output, "PD69104Engine\n");
  EXPECT_EQ(log.take(), START_LOG);
}

TEST_F(OrdinaryUser, OfAnotherGroupReportsThatTheAdapterIsDenied) {
  ASSERT_EQ(chown(ADAPTER, 0, 0), 0) << std::strerror(errno);
  ASSERT_EQ(chmod(ADAPTER, 0660), 0);
  startAsOrdinaryUser();
  EXPECT_EQ(nextWholeStatus().mainOperStatus, 3U);
  EXPECT_EQ(log.take(), "<6> [INFO] main:80 (main) - Card is ready\n"
                        "<3> SWERR ERROR DETECTED: components/PoeDriver/pd69104 294 \n"
                        "<3> Cannot open I2C driver /dev/i2c-0: Permission denied\n"
                        "<6> POE now setting default configuration\n");
}

} // namespace
