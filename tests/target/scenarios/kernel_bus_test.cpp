// What a kernel adds between the service and the chip: errors of its bus driver, transfers that do not end,
// an adapter that is taken away. The chip is the simulated card outside of the machine.
#include "tests/target/scenarios/virtio_bus.h"
#include "tests/target/support/tap_listener.h"
#include "tests/target/support/target_fixture.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <thread>

#include <fcntl.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using Clock = std::chrono::steady_clock;

constexpr char ADAPTER[] = "/dev/i2c-0";
constexpr char DRIVER[] = "/sys/bus/virtio/drivers/i2c_virtio";
constexpr char DEVICE[] = "virtio0";

SerialLine& serial() {
  static SerialLine line("/dev/ttyS1");
  return line;
}

// The errno of a byte read of a register; 0 when it succeeds.
int errorOfRead(std::uint8_t reg) {
  const int file = open(ADAPTER, O_RDWR | O_CLOEXEC);
  i2c_smbus_data data{};
  i2c_smbus_ioctl_data arguments{I2C_SMBUS_READ, reg, I2C_SMBUS_BYTE_DATA, &data};
  const bool done = file >= 0 && ioctl(file, I2C_SLAVE, 0x20) == 0 && ioctl(file, I2C_SMBUS, &arguments) == 0;
  const int error = done ? 0 : errno;
  close(file);
  return error;
}

// Binds the adapter's driver or takes it away. Another process does, which may have to wait.
std::unique_ptr<Program> changeDriver(const char* how) {
  return std::make_unique<Program>(std::vector<std::string>{"/bin/kernel_bus_tests"}, [how] {
    std::ofstream(std::string(DRIVER) + "/" + how) << DEVICE << std::flush;
    _exit(0);
  });
}

class KernelBus : public TargetTest {
protected:
  void SetUp() override {
    static bool inserted = false;
    if (!inserted) {
      insertVirtioAdapter();
      inserted = true;
    }
    card("bus ok");
    card("power-cycle");
  }

  static std::string card(const std::string& words) { return askCard(serial(), words); }

  // A service with a PD on port 0 that has its power.
  void startWithAPoweredPort() {
    card("plug 0 class=2 watts=6");
    startService();
    send(sceneConfigMessage());
    for (int message = 0; message < 8 && !isPowered(); message++) {
      status->next();
    }
    ASSERT_TRUE(isPowered());
    EXPECT_EQ(log.take(), START_LOG);
  }

  static bool isPowered() {
    return card("show").find("port 0: device=good class=2 watts=6 phase=delivering") != std::string::npos;
  }

  // How long the next message takes.
  static milliseconds timeOf(const std::function<void()>& action) {
    const auto start = Clock::now();
    action();
    return std::chrono::duration_cast<milliseconds>(Clock::now() - start);
  }
};

TEST_F(KernelBus, RefusesATransferWithEio) {
  EXPECT_EQ(errorOfRead(0x43), 0);
  card("bus dead");
  EXPECT_EQ(errorOfRead(0x43), EIO);
  card("bus ok");
  EXPECT_EQ(errorOfRead(0x43), 0);
}

TEST_F(KernelBus, ThatAnswers10MillisecondsLateMakesCyclesLongerAndKeepsThePower) {
  startWithAPoweredPort();
  card("bus late 10");
  nextWholeStatus();
  const milliseconds cycle = timeOf([this] { status->next(); });
  EXPECT_GE(cycle, milliseconds(1640)); // 64 transfers and the pause
  EXPECT_TRUE(isPowered());
  EXPECT_EQ(log.take(), "");
  measured("cycle with transfers that are 10 ms late", std::to_string(cycle.count()) + " ms");
}

TEST_F(KernelBus, ThatHangsStopsTheStatusUntilItAnswersAndKeepsThePower) {
  for (const char* late : {"bus late 1000", "bus late 30000"}) {
    startWithAPoweredPort();
    card(late);
    std::this_thread::sleep_for(seconds(4));
    status->waiting();
    std::this_thread::sleep_for(seconds(4));
    EXPECT_TRUE(status->waiting().empty()) << late;
    EXPECT_TRUE(isPowered()) << late;
    card("bus ok");
    EXPECT_EQ(status->next().status.mainOperStatus, 1U) << late;
    EXPECT_TRUE(isPowered()) << late;
    EXPECT_EQ(log.take(), "") << late;
    killService();
    card("power-cycle");
  }
}

TEST_F(KernelBus, CannotLoseItsCharacterDeviceWhileTheServiceRuns) {
  startWithAPoweredPort();
  EXPECT_EQ(syscall(SYS_delete_module, "i2c_dev", O_NONBLOCK), -1);
  EXPECT_EQ(errno, EAGAIN);
  nextWholeStatus();
  EXPECT_EQ(log.take(), "");
}

TEST_F(KernelBus, ServesASecondProgramBesideTheService) {
  startWithAPoweredPort();
  for (int round = 0; round < 3; round++) {
    for (unsigned reg = 0; reg <= 0xCE; reg++) {
      EXPECT_EQ(errorOfRead(static_cast<std::uint8_t>(reg)), 0) << reg;
    }
  }
  EXPECT_EQ(nextWholeStatus().mainOperStatus, 1U);
  EXPECT_TRUE(isPowered());
  EXPECT_EQ(log.take(), "");
}

TEST_F(KernelBus, ThatIsTakenAwayWaitsForTheServiceToEnd) {
  startWithAPoweredPort();
  const std::unique_ptr<Program> unplug = changeDriver("unbind");
  std::this_thread::sleep_for(seconds(3));
  EXPECT_TRUE(unplug->isRunning());
  EXPECT_EQ(nextWholeStatus().mainOperStatus, 1U); // the open device works
  EXPECT_TRUE(isPowered());
  EXPECT_EQ(log.take(), "");
  killService();
  EXPECT_EQ(unplug->wait(), 0);
  EXPECT_NE(access(ADAPTER, F_OK), 0);
  EXPECT_EQ(changeDriver("bind")->wait(), 0);
  startService();
  EXPECT_EQ(nextWholeStatus().mainOperStatus, 1U);
  EXPECT_EQ(log.take(), START_LOG);
}

} // namespace
