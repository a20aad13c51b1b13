// The driver object: the I2C device, the three register operations that all others are built on, the error
// flag and the driver's state as text.
#include "pd69104.h"

#include "diagnostics.h"
#include "pd69104_errors.h"
#include "pd69104_registers.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr int FAILED = -1; // what a read that failed returns

// Stores what was read, unless the read failed. True when it was stored.
bool stored(int value, unsigned* result) {
  if (value < 0) {
    return false;
  }
  *result = static_cast<unsigned>(value);
  return true;
}

} // namespace

CPD69104::CPD69104(int adapterNr, unsigned slaveAddress)
    : m_i2c_address(slaveAddress), m_i2c_file(-1), m_i2c_adapter_nr(adapterNr), m_i2c_filename(),
      m_poeError(false), m_poeErrorCount(0), m_HwOperationMode(IDLE) {
  snprintf(m_i2c_filename, sizeof m_i2c_filename, "/dev/i2c-%d", m_i2c_adapter_nr);
  if (!openAdapter() || !bindAddress()) {
    // In this order: the rising error flag turns FAIL into IDLE, and an IDLE driver is one that the engine
    // keeps trying to initialise.
    m_HwOperationMode = FAIL;
    SetPoeError(true);
  }
}

CPD69104::~CPD69104() {
  close(m_i2c_file);
}

bool CPD69104::openAdapter() {
  do {
    m_i2c_file = open(m_i2c_filename, O_RDWR);
  } while (m_i2c_file == -1 && errno == EINTR);
  if (m_i2c_file < 0) {
    const int error = errno;
    SOFTWARE_ERROR(DRIVER_PATH, DriverLine::OPEN, "Cannot open I2C driver %s: %s\n", m_i2c_filename,
                   strerror(error));
    return false;
  }
  return true;
}

bool CPD69104::bindAddress() {
  int result = 0;
  do {
    result = ioctl(m_i2c_file, I2C_SLAVE, static_cast<unsigned long>(m_i2c_address));
  } while (result == -1 && errno == EINTR);
  if (result < 0) {
    const int error = errno;
    SOFTWARE_ERROR(DRIVER_PATH, DriverLine::BIND, "Cannot access I2C driver: %s\n", strerror(error));
    return false;
  }
  return true;
}

void CPD69104::SetPoeError(bool error) {
  if (error && !m_poeError) {
    m_poeErrorCount++;
    m_HwOperationMode = IDLE;
  }
  m_poeError = error;
}

// The one place that talks to the bus: an SMBus byte-data transfer. `block` holds the byte, and nothing else
// of it is used. Returns what the kernel answered.
int CPD69104::transfer(char readWrite, unsigned address, i2c_smbus_data* block) const {
  i2c_smbus_ioctl_data arguments;
  arguments.read_write = static_cast<__u8>(readWrite);
  arguments.command = static_cast<__u8>(address);
  arguments.size = I2C_SMBUS_BYTE_DATA;
  arguments.data = block;
  return ioctl(m_i2c_file, I2C_SMBUS, &arguments);
}

// One read transfer: 0 to 255, or FAILED.
int CPD69104::transferIn(unsigned address) const {
  i2c_smbus_data block; // the kernel fills it when it answers 0
  return transfer(I2C_SMBUS_READ, address, &block) == 0 ? block.byte : FAILED;
}

// Ends an operation whose transfers were good.
bool CPD69104::succeeded() {
  if (m_poeError) {
    SetPoeError(false);
  }
  return true;
}

// Ends an operation with a failed transfer: only the first of an episode is reported and counted.
bool CPD69104::failedAt(int line, unsigned address) {
  if (!m_poeError) {
    // Kept: writes report "reading" too.
    SOFTWARE_ERROR(DRIVER_PATH, line, "Failed reading device at address 0x%x\n", address);
    SetPoeError(true);
  }
  return false;
}

bool CPD69104::rejectRead(int line, unsigned address, const unsigned* result) const {
  SOFTWARE_ERROR(DRIVER_PATH, line, "Range Error [address=0x%x result=0x%x]\n", address, pointerBits(result));
  return false;
}

int CPD69104::readByte(unsigned address) {
  const int value = transferIn(address);
  if (value < 0) {
    failedAt(DriverLine::READ_TRANSFER, address);
    return FAILED;
  }
  succeeded();
  return value;
}

int CPD69104::readWord(unsigned address) {
  const int low = transferIn(address);
  const int high = transferIn(address + 1);
  const int value = low | (high * 256); // negative when either is
  if (value < 0) {
    failedAt(DriverLine::READ16_TRANSFER, address);
    return FAILED;
  }
  succeeded();
  return value;
}

bool CPD69104::PoeWriteReg(unsigned address, unsigned value) {
  if (address > Register::LAST) {
    SOFTWARE_ERROR(DRIVER_PATH, DriverLine::WRITE_RANGE, "Range Error [address=0x%x]\n", address);
    return false;
  }
  i2c_smbus_data block;
  block.byte = static_cast<std::uint8_t>(value & 0xFF);
  const bool good = transfer(I2C_SMBUS_WRITE, address, &block) >= 0;
  return good ? succeeded() : failedAt(DriverLine::WRITE_TRANSFER, address);
}

bool CPD69104::PoeReadReg(unsigned address, unsigned* result) {
  if (result == nullptr || address > Register::LAST) {
    return rejectRead(DriverLine::READ_RANGE, address, result);
  }
  return stored(readByte(address), result);
}

bool CPD69104::PoeReadReg16(unsigned address, unsigned* result) {
  if (result == nullptr || address > Register::LAST) {
    return rejectRead(DriverLine::READ16_RANGE, address, result);
  }
  return stored(readWord(address), result);
}

static const char* modeName(std::int32_t mode) {
  switch (mode) {
  case IDLE:
    return "IDLE";
  case NORMAL:
    return "NORMAL";
  case SELFTEST:
    return "SELFTEST";
  case FAIL:
    return "FAIL";
  default:
    return "UNKNOWN";
  }
}

bool CPD69104::PoeDriverInfo(char* buf, int size) {
  if (buf == nullptr) {
    SOFTWARE_ERROR(DRIVER_PATH, DriverLine::DRIVER_INFO, "NULL pointer parameter\n");
    return false;
  }
  buf[0] = '\0';
  if (size < 1) {
    return true;
  }
  snprintf(buf, static_cast<std::size_t>(size),
           "==============\n"
           "PD69104 DRIVER\n"
           "==============\n"
           "m_HwOperationMode       : %s\n"
           "\n"
           "m_i2c_filename          : %s\n"
           "m_i2c_adapter_nr        : %d\n"
           "m_i2c_file              : %d\n"
           "m_poeError              : %s\n"
           "m_poeErrorCount         : %u\n",
           modeName(m_HwOperationMode), m_i2c_filename, m_i2c_adapter_nr, m_i2c_file,
           m_poeError ? "TRUE" : "FALSE", m_poeErrorCount);
  buf[size - 1] = '\0';
  return true;
}
