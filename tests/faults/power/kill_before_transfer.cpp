// Preloaded into the unmodified service by its tests: kills it when it is about to make a transfer.
//
// POE_TEST_KILL_BEFORE_TRANSFER=N  the N-th transfer of the process
// POE_TEST_KILL_BEFORE_WRITE=R     the first write of register R, as in 0x82
#include <csignal>
#include <cstdarg>
#include <cstdlib>
#include <dlfcn.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>

namespace {

// -1 when it is not set.
long numberFrom(const char* variable) {
  const char* text = std::getenv(variable);
  return text != nullptr ? std::strtol(text, nullptr, 0) : -1;
}

bool isLast(const i2c_smbus_ioctl_data& transfer) {
  static long number = 0; // the engine mutex lets one thread at a time make a transfer
  number++;
  const bool isWrite = transfer.read_write == I2C_SMBUS_WRITE;
  return number == numberFrom("POE_TEST_KILL_BEFORE_TRANSFER") ||
         (isWrite && transfer.command == numberFrom("POE_TEST_KILL_BEFORE_WRITE"));
}

} // namespace

extern "C" int ioctl(int descriptor, unsigned long request, ...) {
  using Ioctl = int (*)(int, unsigned long, ...);
  static const auto real = reinterpret_cast<Ioctl>(dlsym(RTLD_NEXT, "ioctl"));
  va_list arguments;
  va_start(arguments, request);
  void* argument = va_arg(arguments, void*);
  va_end(arguments);
  if (request == I2C_SMBUS && isLast(*static_cast<const i2c_smbus_ioctl_data*>(argument))) {
    raise(SIGKILL);
  }
  return real(descriptor, request, argument);
}
