#include "tests/support/doubles/i2c_bus.h"

#include "tests/support/doubles/allocation.h"

#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <iomanip>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <sstream>
#include <utility>

namespace {

I2cBus* theBus = nullptr;

int failWith(int error) {
  errno = error;
  return -1;
}

// Takes the first errno value off a list; 0 when the list is empty.
int nextError(std::vector<int>& errors) {
  if (errors.empty()) {
    return 0;
  }
  const int error = errors.front();
  errors.erase(errors.begin());
  return error;
}

} // namespace

bool RegisterFile::read(std::uint8_t reg, std::uint8_t* value) {
  *value = m_registers.at(reg);
  return true;
}

bool RegisterFile::write(std::uint8_t reg, std::uint8_t value) {
  m_registers.at(reg) = value;
  return true;
}

std::ostream& operator<<(std::ostream& out, const Transfer& transfer) {
  return out << transfer.kind << std::hex << std::setfill('0') << " 0x" << std::setw(2) << transfer.reg
             << " 0x" << std::setw(2) << transfer.value << std::dec << (transfer.good ? "" : " failed");
}

Transfer R(unsigned reg, unsigned value) {
  return {'R', reg, value, true};
}
Transfer W(unsigned reg, unsigned value) {
  return {'W', reg, value, true};
}

std::string registersOf(const Transfers& transfers) {
  std::ostringstream out;
  for (const Transfer& transfer : transfers) {
    out << transfer.kind << std::hex << std::uppercase << std::setfill('0') << std::setw(2) << transfer.reg
        << " ";
  }
  return out.str();
}

I2cBus::I2cBus(BusDevice& device) : transferError(ENXIO), m_device(device) {
  failNone();
  theBus = this;
}

I2cBus::~I2cBus() {
  theBus = nullptr;
}

void I2cBus::failWhen(std::function<bool(std::size_t, const Transfer&)> fails) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_fails = std::move(fails);
}

void I2cBus::failTransfer(std::size_t number) {
  failWhen([number](std::size_t n, const Transfer&) { return n == number; });
}

void I2cBus::failAll() {
  failWhen([](std::size_t, const Transfer&) { return true; });
}

void I2cBus::failNone() {
  failWhen([](std::size_t, const Transfer&) { return false; });
}

Transfers I2cBus::takeTransfers() {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return std::exchange(m_transfers, {});
}

std::size_t I2cBus::transferCount() const {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return m_transfers.size();
}

int I2cBus::open(const char* path, int flags) {
  EXPECT_EQ(flags, O_RDWR);
  opened.emplace_back(path);
  const int error = nextError(openErrors);
  return error != 0 ? failWith(error) : openResult;
}

int I2cBus::bind(int descriptor, unsigned long address) {
  EXPECT_EQ(descriptor, openResult);
  bound.push_back(static_cast<unsigned>(address));
  const int error = nextError(bindErrors);
  return error != 0 ? failWith(error) : 0;
}

int I2cBus::transfer(int descriptor, void* arguments) {
  if (descriptor != openResult) {
    return failWith(EBADF);
  }
  const UncountedAllocations uncounted;
  const auto* request = static_cast<const i2c_smbus_ioctl_data*>(arguments);
  EXPECT_EQ(request->size, 2U) << "not a byte-data transfer";
  EXPECT_LE(request->read_write, 1);
  const bool isRead = request->read_write == 1;

  const std::lock_guard<std::mutex> lock(m_mutex);
  const std::size_t number = m_transfers.size();
  Transfer transfer{isRead ? 'R' : 'W', request->command, isRead ? 0U : request->data->byte, false};
  if (!m_fails(number, transfer)) {
    std::uint8_t value = 0;
    transfer.good = isRead ? m_device.read(request->command, &value)
                           : m_device.write(request->command, request->data->byte);
    if (isRead && transfer.good) {
      request->data->byte = value;
      transfer.value = value;
    }
  }
  m_transfers.push_back(transfer);
  if (!transfer.good) {
    return failWith(transferError);
  }
  const auto result = results.find(number);
  return result != results.end() ? result->second : 0;
}

int I2cBus::close(int descriptor) {
  if (onClose) {
    onClose();
  }
  closed.push_back(descriptor);
  return closeError != 0 ? failWith(closeError) : 0;
}

extern "C" {

int __real_open(const char* path, int flags, ...);
int __real_close(int descriptor);
int __real_ioctl(int descriptor, unsigned long request, ...);

int __wrap_open(const char* path, int flags, ...) {
  if (theBus != nullptr && std::strncmp(path, "/dev/i2c-", 9) == 0) {
    return theBus->open(path, flags);
  }
  va_list arguments;
  va_start(arguments, flags);
  const int mode = (flags & O_CREAT) != 0 ? va_arg(arguments, int) : 0;
  va_end(arguments);
  return __real_open(path, flags, mode);
}

int __wrap_close(int descriptor) {
  if (theBus != nullptr && (descriptor < 0 || descriptor == theBus->openResult)) {
    return theBus->close(descriptor);
  }
  return __real_close(descriptor);
}

int __wrap_ioctl(int descriptor, unsigned long request, ...) {
  va_list arguments;
  va_start(arguments, request);
  void* pointer = va_arg(arguments, void*);
  va_end(arguments);
  if (theBus != nullptr && request == I2C_SLAVE) {
    return theBus->bind(descriptor, reinterpret_cast<unsigned long>(pointer));
  }
  if (theBus != nullptr && request == I2C_SMBUS) {
    return theBus->transfer(descriptor, pointer);
  }
  return __real_ioctl(descriptor, request, pointer);
}
}
