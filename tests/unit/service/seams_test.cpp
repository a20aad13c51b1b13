// The calls that are replaced at link time must reach the doubles, and the C library when there is none. On
// 32-bit machines some of them have other symbols than names.
#include "tests/support/doubles/i2c_bus.h"
#include "tests/support/doubles/posix_doubles.h"

#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <mqueue.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

TEST(Seams, CallsOfTheAdapterReachTheBus) {
  RegisterFile registers;
  registers[0x43] = 0x42;
  I2cBus bus(registers);
  const int file = open("/dev/i2c-0", O_RDWR);
  ASSERT_EQ(file, 0x7A11);
  EXPECT_EQ(ioctl(file, I2C_SLAVE, 0x20UL), 0);
  i2c_smbus_data data{};
  i2c_smbus_ioctl_data arguments{I2C_SMBUS_READ, 0x43, I2C_SMBUS_BYTE_DATA, &data};
  EXPECT_EQ(ioctl(file, I2C_SMBUS, &arguments), 0);
  EXPECT_EQ(data.byte, 0x42);
  EXPECT_EQ(close(file), 0);
  EXPECT_EQ(bus.closed, std::vector<int>{0x7A11});
}

TEST(Seams, CallsOfTheAdapterReachTheLibraryWithoutABus) {
  const int file = open("/dev/null", O_RDONLY);
  ASSERT_GE(file, 0);
  int bytes = 0;
  EXPECT_EQ(ioctl(file, FIONREAD, &bytes), -1);
  EXPECT_EQ(errno, ENOTTY);
  EXPECT_EQ(close(file), 0);
  EXPECT_EQ(close(file), -1);
  EXPECT_EQ(errno, EBADF);
}

TEST(Seams, CallsOfTheQueueAndTheClockReachTheDoubles) {
  PosixDoubles doubles;
  timespec now{};
  EXPECT_EQ(clock_gettime(CLOCK_REALTIME, &now), 0);
  EXPECT_EQ(now.tv_sec, 1'700'000'000);
  EXPECT_EQ(now.tv_nsec, 123'456'789);
  const mqd_t queue = mq_open("/queueToMain", O_WRONLY);
  const timespec deadline{1'700'000'001, 123'456'789};
  EXPECT_EQ(mq_timedsend(queue, "text", 4, 0, &deadline), 0);
  EXPECT_EQ(mq_close(queue), 0);
  EXPECT_EQ(doubles.calls,
            (std::vector<std::string>{"mq_open /queueToMain O_WRONLY", "mq_timedsend 4", "mq_close"}));
}

TEST(Seams, CallsOfTheQueueAndTheClockReachTheLibraryWithoutDoubles) {
  const std::time_t seconds = time(nullptr);
  timespec now{};
  ASSERT_EQ(clock_gettime(CLOCK_REALTIME, &now), 0);
  EXPECT_GE(now.tv_sec, seconds);
  EXPECT_LE(now.tv_sec, seconds + 60);
  EXPECT_LT(now.tv_nsec, 1'000'000'000);
  EXPECT_EQ(mq_timedsend(-1, "text", 4, 0, &now), -1);
  EXPECT_EQ(errno, EBADF);
  EXPECT_EQ(mq_close(-1), -1);
}

} // namespace
