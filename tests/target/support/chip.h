// The chip's place on the bus as the kernel's i2c-stub fills it: 256 registers that hold what is written. The
// tests are a second program at /dev/i2c-0, beside the service.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>

using Registers = std::array<std::uint8_t, 256>;

class Chip {
public:
  Chip(); // opens the adapter; a test failure when that cannot be
  Chip(const Chip&) = delete;
  Chip& operator=(const Chip&) = delete;
  ~Chip();

  std::uint8_t read(std::uint8_t reg) const;
  void write(std::uint8_t reg, std::uint8_t value);
  void write(const std::map<std::uint8_t, std::uint8_t>& registers);

  Registers readAll() const;

  // Register 0x90, by which the service knows a chip that has lost its configuration, is the last.
  void fill(std::uint8_t value);

private:
  int m_file;
};

// Loads the modules of the adapter, so that /dev/i2c-0 is there: i2c-stub, or the simulated card outside of
// the machine. A failure is a failed test.
void insertAdapter();
void insertVirtioAdapter();

// A register of each line that differs, for the report of a failed comparison.
std::string differences(const Registers& actual, const Registers& expected);
