// What a run of a program costs, and what transfers take.
//
//   tool_cost runs COUNT COMMAND...   a line "MEMORY,PROCESSOR,TIME": the median of the greatest resident
//   memory (kB), and
//                                     the mean processor time and duration of a run (ms)
//   tool_cost transfers COUNT         the mean duration (ms) of ten reads of a register through /dev/i2c-0
//
// The exit status is 0, 1 when the command or a transfer fails, and 2 when the words are not understood. What
// the command prints goes to /dev/null.
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <fcntl.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

constexpr unsigned long CHIP_ADDRESS = 0x20;
constexpr std::uint8_t DEVICE_ID = 0x43; // a register that reads do not change

double milliseconds(Clock::duration time) {
  return std::chrono::duration<double, std::milli>(time).count();
}

double milliseconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) * 1000 + static_cast<double>(time.tv_usec) / 1000;
}

int failed(const char* what) {
  std::fprintf(stderr, "tool_cost: %s: %s\n", what, std::strerror(errno));
  return 1;
}

[[noreturn]] void become(char** command) {
  const int null = open("/dev/null", O_WRONLY);
  dup2(null, STDOUT_FILENO);
  close(null);
  execvp(command[0], command);
  std::_Exit(failed(command[0]));
}

int measureRuns(int count, char** command) {
  std::vector<long> memory;
  double processor = 0;
  const auto begin = Clock::now();
  for (int run = 0; run < count; run++) {
    const pid_t child = fork();
    if (child == 0) {
      become(command);
    }
    int status = 0;
    rusage usage{};
    if (wait4(child, &status, 0, &usage) != child) {
      return failed("wait4");
    }
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
      std::fprintf(stderr, "tool_cost: %s has failed\n", command[0]);
      return 1;
    }
    memory.push_back(usage.ru_maxrss);
    processor += milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime);
  }
  const double duration = milliseconds(Clock::now() - begin);
  std::nth_element(memory.begin(), memory.begin() + count / 2, memory.end());
  std::printf("%ld,%.2f,%.2f\n", memory[static_cast<std::size_t>(count / 2)], processor / count,
              duration / count);
  return 0;
}

int measureTransfers(int count) {
  const int bus = open("/dev/i2c-0", O_RDWR | O_CLOEXEC);
  if (bus < 0 || ioctl(bus, I2C_SLAVE, CHIP_ADDRESS) < 0) {
    return failed("/dev/i2c-0");
  }
  const auto begin = Clock::now();
  for (int transfer = 0; transfer < 10 * count; transfer++) {
    i2c_smbus_data data{};
    i2c_smbus_ioctl_data arguments{I2C_SMBUS_READ, DEVICE_ID, I2C_SMBUS_BYTE_DATA, &data};
    if (ioctl(bus, I2C_SMBUS, &arguments) < 0) {
      return failed("transfer");
    }
  }
  std::printf("%.3f\n", milliseconds(Clock::now() - begin) / count);
  close(bus);
  return 0;
}

} // namespace

int main(int argc, char** argv) {
  const std::string what = argc > 2 ? argv[1] : "";
  const int count = argc > 2 ? std::atoi(argv[2]) : 0;
  if (count > 0 && what == "runs" && argc > 3) {
    return measureRuns(count, argv + 3);
  }
  if (count > 0 && what == "transfers" && argc == 3) {
    return measureTransfers(count);
  }
  std::fprintf(stderr, "tool_cost: accepted are runs COUNT COMMAND... and transfers COUNT\n");
  return 2;
}
