// An adapter that goes and comes back while the service runs.
#include "tests/target/scenarios/kernel_bus.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <memory>
#include <thread>

#include <sys/syscall.h>
#include <unistd.h>

namespace {

using std::chrono::seconds;

// Writes to a file of sysfs. Another process does, which may have to wait.
std::unique_ptr<Program> writeTo(const std::string& file, const std::string& text) {
  return std::make_unique<Program>(std::vector<std::string>{"/bin/kernel_bus_tests"}, [file, text] {
    std::ofstream(file) << text << std::flush;
    _exit(0);
  });
}

class Adapter : public KernelBus {
protected:
  // Takes the adapter away, which has to wait for the service's end, and returns it.
  void expectItGoesAfterTheService(const std::function<std::unique_ptr<Program>()>& takeAway,
                                   const std::function<std::unique_ptr<Program>()>& bringBack) {
    startWithAPoweredPort();
    const std::unique_ptr<Program> away = takeAway();
    std::this_thread::sleep_for(seconds(3));
    EXPECT_TRUE(away->isRunning());
    EXPECT_EQ(nextWholeStatus().mainOperStatus, 1U); // the open device works
    EXPECT_TRUE(isPowered());
    EXPECT_EQ(log.take(), "");
    endServiceInItsSleep();
    EXPECT_EQ(away->wait(), 0);
    EXPECT_NE(access(ADAPTER, F_OK), 0);
    EXPECT_EQ(bringBack()->wait(), 0);
    ASSERT_TRUE(waitUntil([] { return access(ADAPTER, F_OK) == 0; }));
    startService();
    EXPECT_EQ(nextWholeStatus().mainOperStatus, 1U);
    EXPECT_EQ(log.take(), START_LOG);
  }
};

TEST_F(Adapter, ThatLosesItsDriverWaitsForTheServiceToEnd) {
  const std::string driver = "/sys/bus/virtio/drivers/i2c_virtio/";
  expectItGoesAfterTheService([&] { return writeTo(driver + "unbind", "virtio0"); },
                              [&] { return writeTo(driver + "bind", "virtio0"); });
}

TEST_F(Adapter, ThatIsUnpluggedFromThePciBusWaitsForTheServiceToEnd) {
  const std::string device = std::filesystem::canonical("/sys/bus/virtio/devices/virtio0").parent_path();
  expectItGoesAfterTheService([&] { return writeTo(device + "/remove", "1"); },
                              [] { return writeTo("/sys/bus/pci/rescan", "1"); });
}

// The service opens the device once, at its start.
TEST_F(Adapter, ThatIsMissingAtTheStartNeedsARestartOfTheService) {
  const std::string driver = "/sys/bus/virtio/drivers/i2c_virtio/";
  EXPECT_EQ(writeTo(driver + "unbind", "virtio0")->wait(), 0);
  startService();
  EXPECT_EQ(status->next().status.mainOperStatus, 3U);
  log.take();
  EXPECT_EQ(writeTo(driver + "bind", "virtio0")->wait(), 0);
  EXPECT_EQ(nextWholeStatus().mainOperStatus, 3U);
  endServiceInItsSleep();
  startService();
  EXPECT_EQ(nextWholeStatus().mainOperStatus, 1U);
  EXPECT_EQ(log.take(), START_LOG);
}

TEST_F(Adapter, CannotLoseItsCharacterDeviceWhileTheServiceRuns) {
  startWithAPoweredPort();
  EXPECT_EQ(syscall(SYS_delete_module, "i2c_dev", O_NONBLOCK), -1);
  EXPECT_EQ(errno, EAGAIN);
  nextWholeStatus();
  EXPECT_EQ(log.take(), "");
}

// The adapter stays in the machine. Another card answers there, and its chip is new.
TEST_F(Adapter, WhoseCardIsReplacedGoesOnWithoutARestart) {
  startWithAPoweredPort();
  card("replace-card 5");
  card("plug 0 class=2 watts=6");
  const std::string recovery = "<6> PD69104 POE chip not initialised, excuting (re)init now!!\n"
                               "<6> POE now setting default configuration\n";
  EXPECT_EQ(log.takeUntil(recovery, MAX_WAIT), recovery);
  expectRecovery();
  EXPECT_EQ(log.take(), "");
}

} // namespace
