// The dates at which 32 bits no longer hold the seconds since 1970: 2038-01-19 03:14:07 UTC for signed
// numbers, 2106-02-07 06:28:15 UTC for unsigned ones.
#include "tests/target/support/tap_listener.h"
#include "tests/target/support/time_of_day.h"

namespace {

struct LastSecond {
  std::time_t time;
  const char* iso; // the day as poectl writes it
  const char* log; // and as syslog(3) does
};

class Date : public TimeOfDayFixture, public ::testing::WithParamInterface<LastSecond> {
protected:
  void startBehindTheDate(const std::string& program) {
    timeOfDay.set(GetParam().time + 60);
    startService({program});
  }

  // A service whose clock or receive fails at once would keep a processor busy.
  void expectNoSpinning() {
    const auto before = footprintOf(service->pid()).processorTime;
    expectCycles(5); // and a message more
    const auto used = footprintOf(service->pid()).processorTime - before;
    const double share = std::chrono::duration<double>(used).count() / 6;
    EXPECT_LT(share, 0.2);
    measured("processor time of the service after " + std::string(GetParam().iso),
             std::to_string(share * 100) + " %");
  }

  // A configuration, a command and no other line in the log than those of the start.
  void expectWork() {
    send(sceneConfigMessageWithPort1At20Watts());
    nextWholeStatus();
    EXPECT_EQ(chip->read(0x82), 20);
    EXPECT_EQ(run({"/bin/poectl", "console", "help"}).output, "PD69104Engine\n");
    EXPECT_EQ(log.take(), START_LOG);
    EXPECT_TRUE(service->isRunning());
  }
};

TEST_P(Date, PassesWhileTheServiceGoesOn) {
  startService();
  configureScene();
  waitForTheSleep();
  timeOfDay.set(GetParam().time - 3);
  expectCycles(6);
  EXPECT_GT(TimeOfDay::now(), GetParam().time);
  expectNoSpinning();
  expectWork();
}

TEST_P(Date, IsPastWhenTheServiceStarts) {
  startBehindTheDate(SERVICE);
  configureScene();
  expectNoSpinning();
  expectWork();
}

#ifdef HAS_STATIC_SERVICE
TEST_P(Date, IsPastWhenTheStaticServiceStarts) {
  startBehindTheDate("/static/poe_service");
  configureScene();
  expectNoSpinning();
  expectWork();
}
#endif

TEST_P(Date, IsInTheLogAndInTheOutputOfPoectl) {
  startBehindTheDate(SERVICE);
  EXPECT_EQ(log.take(), START_LOG);
  EXPECT_EQ(log.timeOfLastLine().substr(0, 7), GetParam().log + std::string(" "));
  status.reset();
  const Result shown = run({"/bin/poectl", "watch", "--json", "--count", "1"});
  EXPECT_EQ(shown.status, 0);
  EXPECT_NE(shown.output.find("\"" + std::string(GetParam().iso) + "T"), std::string::npos) << shown.output;
  killService();
  EXPECT_EQ(withoutReportsOfNoQueue(log.take()), "");
}

std::string yearOf(const ::testing::TestParamInfo<LastSecond>& date) {
  return std::string(date.param.iso).substr(0, 4);
}

INSTANTIATE_TEST_SUITE_P(OfSignedSeconds, Date,
                         ::testing::Values(LastSecond{2147483647, "2038-01-19", "Jan 19"}), yearOf);

// On PowerPC glibc 2.36 asks the kernel's vDSO, whose seconds are 32 bits, and takes them for unsigned: its
// clock goes back to 1970 here.
#ifndef __powerpc__
INSTANTIATE_TEST_SUITE_P(OfUnsignedSeconds, Date,
                         ::testing::Values(LastSecond{4294967295, "2106-02-07", "Feb  7"}), yearOf);
#endif

} // namespace
