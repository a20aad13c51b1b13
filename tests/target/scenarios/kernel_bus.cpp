#include "tests/target/scenarios/kernel_bus.h"

#include "tests/target/scenarios/serial_line.h"

#include <cerrno>

#include <fcntl.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

SerialLine& serial() {
  static SerialLine line("/dev/ttyS1");
  return line;
}

} // namespace

void KernelBus::SetUp() {
  static bool inserted = false;
  if (!inserted) {
    insertVirtioAdapter();
    inserted = true;
  }
  card("bus ok");
  card("power-cycle");
}

void KernelBus::TearDown() {
  endServiceInItsSleep();
  TargetTest::TearDown();
}

void KernelBus::endServiceInItsSleep() {
  if (service && service->isRunning()) {
    status->waiting();
    status->next();
    killService();
  }
}

std::string KernelBus::card(const std::string& words) {
  std::string reply = serial().askCard(words);
  EXPECT_NE(reply.compare(0, 6, "error:"), 0) << reply;
  return reply;
}

void KernelBus::startWithAPoweredPort() {
  card("plug 0 class=2 watts=6");
  startService();
  send(sceneConfigMessage());
  expectRecovery();
  EXPECT_EQ(log.take(), START_LOG);
}

bool KernelBus::isPowered() {
  return card("show").find("port 0: device=good class=2 watts=6 phase=delivering") != std::string::npos;
}

void KernelBus::expectRecovery() {
  PoeStatus now{};
  for (int message = 0; message < 8 && (!isPowered() || now.mainOperStatus != 1); message++) {
    now = status->next().status;
  }
  EXPECT_EQ(now.mainOperStatus, 1U);
  ASSERT_TRUE(isPowered());
}

std::chrono::milliseconds KernelBus::timeOf(const std::function<void()>& action) {
  const auto start = Clock::now();
  action();
  return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
}

int KernelBus::errorOfRead(std::uint8_t reg) {
  const int file = open(ADAPTER, O_RDWR | O_CLOEXEC);
  i2c_smbus_data data{};
  i2c_smbus_ioctl_data arguments{I2C_SMBUS_READ, reg, I2C_SMBUS_BYTE_DATA, &data};
  const bool done = file >= 0 && ioctl(file, I2C_SLAVE, 0x20) == 0 && ioctl(file, I2C_SMBUS, &arguments) == 0;
  const int error = done ? 0 : errno;
  close(file);
  return error;
}
