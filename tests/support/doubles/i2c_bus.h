// The simulated /dev/i2c-N of the unit tests: open, ioctl and close are taken over at link time
// (-Wl,--wrap=open,--wrap=ioctl,--wrap=close). Other files and descriptors go to the real functions.
//
// One bus per test; it checks the form of every call, records every transfer and fails those it is told to
// fail. Safe to use from several threads.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <ostream>
#include <string>
#include <vector>

// What sits on the bus at address 0x20; false means that it did not acknowledge.
class BusDevice {
public:
  virtual ~BusDevice() = default;
  virtual bool read(std::uint8_t reg, std::uint8_t* value) = 0;
  virtual bool write(std::uint8_t reg, std::uint8_t value) = 0;
};

// 256 registers that hold what is written and do nothing.
class RegisterFile : public BusDevice {
public:
  bool read(std::uint8_t reg, std::uint8_t* value) override;
  bool write(std::uint8_t reg, std::uint8_t value) override;
  std::uint8_t& operator[](unsigned reg) { return m_registers.at(reg); }

private:
  std::array<std::uint8_t, 256> m_registers{};
};

// One transfer as the bus saw it. The value of a failed read is 0.
struct Transfer {
  char kind; // 'R' or 'W'
  unsigned reg;
  unsigned value;
  bool good;

  bool operator==(const Transfer& other) const {
    return kind == other.kind && reg == other.reg && value == other.value && good == other.good;
  }
};

std::ostream& operator<<(std::ostream& out, const Transfer& transfer);

using Transfers = std::vector<Transfer>;

Transfer R(unsigned reg, unsigned value);
Transfer W(unsigned reg, unsigned value);

// The registers of transfers, without their values.
std::string registersOf(const Transfers& transfers);

class I2cBus {
public:
  static constexpr int DESCRIPTOR = 0x7A11;

  explicit I2cBus(BusDevice& device);
  ~I2cBus();
  I2cBus(const I2cBus&) = delete;
  I2cBus& operator=(const I2cBus&) = delete;

  // The errno values of the next opens and binds, one call each; after them they succeed.
  std::vector<int> openErrors;
  std::vector<int> bindErrors;
  // The errno of the transfers that fail, and of the closes; 0: these succeed.
  int transferError;
  int closeError = 0;
  // Result of an open that succeeds; any other negative number than -1 is also a failure.
  int openResult = DESCRIPTOR;

  // Called at each close.
  std::function<void()> onClose;

  // Decides which transfers fail: given the number of the transfer since takeTransfers (0 first) and the
  // transfer.
  void failWhen(std::function<bool(std::size_t, const Transfer&)> fails);
  void failTransfer(std::size_t number);
  void failAll();
  void failNone();

  // What ioctl returns for transfer `number` although the transfer was good.
  std::map<std::size_t, int> results;

  // All transfers since the last call.
  Transfers takeTransfers();
  std::size_t transferCount() const;

  // Opened paths, bound addresses and closed descriptors so far.
  std::vector<std::string> opened;
  std::vector<unsigned> bound;
  std::vector<int> closed;

  // For the link-time replacements.
  int open(const char* path, int flags);
  int bind(int descriptor, unsigned long address);
  int transfer(int descriptor, void* arguments);
  int close(int descriptor);

private:
  mutable std::mutex m_mutex;
  BusDevice& m_device;
  std::function<bool(std::size_t, const Transfer&)> m_fails;
  Transfers m_transfers;
};
