// A driver on a bus whose registers hold what is written, and what the driver's tests share.
#pragma once

#include "components/PoeDriver/pd69104.h"
#include "tests/support/doubles/i2c_bus.h"
#include "tests/support/doubles/log_capture.h"
#include "tests/unit/service/driver_info_text.h"

#include <cerrno>
#include <functional>
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

// The low byte's register when `reg` is half of a 16-bit value, else 0.
inline unsigned lowByteOf(unsigned reg) {
  const bool isPortValue = reg >= 0x30 && reg <= 0x3F; // port currents and voltages, at even addresses
  const bool isDeviceValue = reg == 0x71 || reg == 0x72 || reg == 0xCB || reg == 0xCC; // at odd addresses
  return isPortValue ? reg & ~1U : isDeviceValue ? (reg - 1) | 1U : 0;
}

// The report of the first failed transfer of an episode.
inline LogLines failureReport(const Transfer& transfer) {
  char address[8];
  const unsigned low = transfer.kind == 'R' ? lowByteOf(transfer.reg) : 0;
  snprintf(address, sizeof address, "%x", low != 0 ? low : transfer.reg);
  return readFailure(transfer.kind == 'W' ? 2154 : low != 0 ? 2278 : 2215, address);
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

  using Operation = std::function<bool()>;

  // Lets each transfer of an operation fail alone, and then all from each one on. Expected of every run: the
  // operation fails; all other transfers are made, but no write follows a failed read of the same register;
  // one report, of the first failed transfer; the driver is IDLE, with the error flag up only when the last
  // transfer failed. `notices` are the lines that the operation writes without a failure. Returns the number
  // of transfers.
  std::size_t expectEveryFailureHandled(const Operation& operation, const LogLines& notices = {}) {
    EXPECT_TRUE(operation());
    EXPECT_EQ(takeLog(), notices);
    const Transfers healthy = bus.takeTransfers();
    for (std::size_t number = 0; number < healthy.size(); number++) {
      expectFailureHandled(operation, notices, healthy, number, false);
      expectFailureHandled(operation, notices, healthy, number, true);
    }
    return healthy.size();
  }

  RegisterFile registers;
  I2cBus bus{registers};
  CPD69104 driver{0, 0x20};

private:
  void expectFailureHandled(const Operation& operation, const LogLines& notices, const Transfers& healthy,
                            std::size_t first, bool andAllBehind) {
    SCOPED_TRACE("transfer " + std::to_string(first) + (andAllBehind ? " and all behind it fail" : " fails"));
    makeNormal();
    bus.failWhen([=](std::size_t number, const Transfer&) {
      return andAllBehind ? number >= first : number == first;
    });
    EXPECT_FALSE(operation());
    bus.failNone();
    const Transfers made = bus.takeTransfers();

    Transfers expected;
    for (std::size_t number = 0; number < healthy.size(); number++) {
      const bool fails = andAllBehind ? number >= first : number == first;
      expected.push_back(healthy[number]);
      const bool writeFollows = number + 1 < healthy.size() && healthy[number + 1].kind == 'W' &&
                                healthy[number].kind == 'R' && healthy[number + 1].reg == healthy[number].reg;
      if (fails && writeFollows) {
        number++;
      }
    }
    EXPECT_EQ(registersOf(made), registersOf(expected));
    EXPECT_EQ(takeLog(), notices + failureReport(healthy[first]));
    const bool lastFailed = !made.empty() && endsInFailure(made);
    EXPECT_EQ(infoOf(driver).substr(0, infoOf(driver).find("m_poeErrorCount")),
              driverInfo("IDLE", lastFailed ? "TRUE" : "FALSE", 0)
                  .substr(0, infoOf(driver).find("m_poeErrorCount")));
  }

  // Whether the last operation on a register, a 16-bit read being one, failed.
  static bool endsInFailure(const Transfers& made) {
    const Transfer& last = made.back();
    const bool isHighByte = last.kind == 'R' && lowByteOf(last.reg) != 0 && lowByteOf(last.reg) != last.reg;
    return !last.good || (isHighByte && !made[made.size() - 2].good);
  }
};
