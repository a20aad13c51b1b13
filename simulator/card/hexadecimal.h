// How registers and their values are written: "0x0C".
#pragma once

#include <string>

// `value` is 0 to 0xFF.
inline std::string hexadecimal(unsigned value) {
  constexpr const char* DIGITS = "0123456789ABCDEF";
  return {'0', 'x', DIGITS[value >> 4 & 0xF], DIGITS[value & 0xF]};
}
