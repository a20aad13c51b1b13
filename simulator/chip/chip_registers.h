// The register map of the simulated PD69104: what exists, who may write it and
// what it holds after power-on. Written down here on its own, not shared with
// the driver, so that a wrong address on either side shows.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

struct RegisterFamily {
  enum class Access : std::uint8_t {
    ReadWrite,
    ReadOnly, // A write is acknowledged and has no effect.
    Command,  // A write has an effect, a read gives 0.
  };

  std::uint8_t first;  // address of the first register
  std::uint8_t count;  // how many registers of this kind there are
  std::uint8_t stride; // distance from one to the next
  Access access;
  std::uint8_t powerOn;
  const char* name;
};

inline constexpr std::uint8_t LAST_REGISTER = 0xCE;

// The values of the registers; none for one that is not known.
using RegisterImage = std::array<std::optional<std::uint8_t>, LAST_REGISTER + 1>;

// The family that a register belongs to; nullptr for a register without a
// meaning, which just holds what is written.
const RegisterFamily* findRegister(std::uint8_t address);
