// The limits of a power setting, and what the service makes of a configured value.
#pragma once

#include <cstdint>

constexpr std::uint32_t MAX_PORT_LIMIT_MW = 40000;
constexpr std::uint32_t MAX_BANK_LIMIT_W = 161; // the service writes no more to the chip

// The default configuration leaves this bank's limit at 0: any other value marks a chip that has lost its
// configuration. The main process must therefore keep it at 0.
constexpr unsigned MARKER_BANK = 7;

// The limit in mW that a port gets: 0 stands for the maximum.
constexpr std::uint32_t effectivePortLimitMw(std::uint32_t configuredMw) {
  return configuredMw == 0 || configuredMw > MAX_PORT_LIMIT_MW ? MAX_PORT_LIMIT_MW : configuredMw;
}

// The limit in W that a bank gets.
constexpr std::uint32_t effectiveBankLimitW(std::uint32_t configuredW) {
  return configuredW > MAX_BANK_LIMIT_W ? MAX_BANK_LIMIT_W : configuredW;
}
