// A driver on a bus whose registers hold what is written, and what the driver's tests share.
#pragma once

#include "components/PoeDriver/pd69104.h"
#include "tests/support/doubles/i2c_bus.h"
#include "tests/support/doubles/log_capture.h"
#include "tests/unit/service/driver_info_text.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <string>

inline std::string infoOf(CPD69104& driver) {
  char text[4095];
  EXPECT_TRUE(driver.PoeDriverInfo(text, sizeof text));
  return text;
}

inline LogLines driverError(int line, const std::string& message) {
  return softwareError("pd69104", line, message);
}

inline LogLines readFailure(int line, const std::string& address) {
  return driverError(line, "Failed reading device at address 0x" + address + "\n");
}

class DriverTest : public StrictLogTest {
protected:
  // The argument of a range report: a pointer's low 32 bits.
  static std::string bits(const void* pointer) {
    char text[16];
    snprintf(text, sizeof text, "0x%x", static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(pointer)));
    return text;
  }

  // Brings the driver to mode NORMAL and forgets how.
  void makeNormal() {
    ASSERT_TRUE(driver.PoeSetDefaultConfiguration());
    takeLog();
    bus.takeTransfers();
  }

  void set16(unsigned reg, unsigned value) {
    registers[reg] = static_cast<std::uint8_t>(value & 0xFF);
    registers[reg + 1] = static_cast<std::uint8_t>(value >> 8);
  }

  RegisterFile registers;
  I2cBus bus{registers};
  CPD69104 driver{0, 0x20};
};
