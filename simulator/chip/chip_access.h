// Transfers that a program for this chip has no reason to make, by which a wrong address shows.
#pragma once

#include <cstdint>
#include <map>
#include <string>

enum class ChipAccess : std::uint8_t {
  Regular,
  UnknownRegister, // the data sheet does not describe the address, or there is no register at all
  ReadOnlyWrite,   // a write to a register that can only be read
};

ChipAccess readOf(std::uint8_t address);
ChipAccess writeOf(std::uint8_t address);

// Counts such accesses by their register. Not for use from two threads at once.
class AccessCounts {
public:
  void count(ChipAccess access, std::uint8_t address);

  // How many there were, and of which registers: "0", or "3: 0x05, 0xCF". A register of the data sheet has
  // its name: "1: 0x91 active power bank". At most MAX_NAMED registers are named.
  std::string unknownRegisters() const { return text(m_unknown); }
  std::string readOnlyWrites() const { return text(m_readOnly); }

  static constexpr unsigned MAX_NAMED = 8;

private:
  using Counts = std::map<std::uint8_t, unsigned>;
  static std::string text(const Counts& counts);

  Counts m_unknown;
  Counts m_readOnly;
};
