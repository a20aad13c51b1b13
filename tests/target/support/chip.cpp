#include "tests/target/support/chip.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr char ADAPTER[] = "/dev/i2c-0";
constexpr unsigned long ADDRESS = 0x20;

int transfer(int file, std::uint8_t direction, std::uint8_t reg, i2c_smbus_data* data) {
  i2c_smbus_ioctl_data arguments{direction, reg, I2C_SMBUS_BYTE_DATA, data};
  return ioctl(file, I2C_SMBUS, &arguments);
}

// With parameters, "" for none.
void insertModule(const std::string& name, const char* parameters) {
  const std::string file = "/lib/modules/" + name + ".ko";
  const int module = open(file.c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_GE(module, 0) << file << ": " << std::strerror(errno);
  EXPECT_EQ(syscall(SYS_finit_module, module, parameters, 0), 0) << file << ": " << std::strerror(errno);
  close(module);
}

} // namespace

void insertAdapter() {
  if (access(ADAPTER, F_OK) != 0) {
    insertModule("i2c-dev", "");
    insertModule("i2c-stub", "chip_addr=0x20");
  }
  ASSERT_EQ(access(ADAPTER, F_OK), 0);
}

// Debian's kernel has the bus of the machine in modules, too; a kernel that has it built in lacks these
// files.
void insertVirtioAdapter() {
  for (const std::string name : {"virtio_ring", "virtio", "virtio_pci_legacy_dev", "virtio_pci_modern_dev",
                                 "virtio_pci", "i2c-dev", "i2c-virtio"}) {
    if (access(("/lib/modules/" + name + ".ko").c_str(), F_OK) == 0) {
      insertModule(name, "");
    }
  }
}

Chip::Chip() : m_file(open(ADAPTER, O_RDWR | O_CLOEXEC)) {
  EXPECT_GE(m_file, 0) << ADAPTER << ": " << std::strerror(errno);
  EXPECT_EQ(ioctl(m_file, I2C_SLAVE, ADDRESS), 0) << std::strerror(errno);
}

Chip::~Chip() {
  close(m_file);
}

std::uint8_t Chip::read(std::uint8_t reg) const {
  i2c_smbus_data data{};
  EXPECT_EQ(transfer(m_file, I2C_SMBUS_READ, reg, &data), 0) << std::strerror(errno);
  return data.byte;
}

void Chip::write(std::uint8_t reg, std::uint8_t value) {
  i2c_smbus_data data{};
  data.byte = value;
  EXPECT_EQ(transfer(m_file, I2C_SMBUS_WRITE, reg, &data), 0) << std::strerror(errno);
}

void Chip::write(const std::map<std::uint8_t, std::uint8_t>& registers) {
  for (const auto& [reg, value] : registers) {
    write(reg, value);
  }
}

Registers Chip::readAll() const {
  Registers registers{};
  for (unsigned reg = 0; reg < registers.size(); reg++) {
    registers[reg] = read(static_cast<std::uint8_t>(reg));
  }
  return registers;
}

void Chip::fill(std::uint8_t value) {
  for (unsigned reg = 0; reg < 256; reg++) {
    if (reg != 0x90) {
      write(static_cast<std::uint8_t>(reg), value);
    }
  }
  write(0x90, value);
}

std::string differences(const Registers& actual, const Registers& expected) {
  std::string text;
  for (unsigned reg = 0; reg < actual.size(); reg++) {
    if (actual[reg] != expected[reg]) {
      char line[64];
      std::snprintf(line, sizeof line, "register 0x%02X: 0x%02X, expected 0x%02X\n", reg, actual[reg],
                    expected[reg]);
      text += line;
    }
  }
  return text;
}
