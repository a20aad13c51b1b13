#include "text/text.h"

#include <cstdio>

std::string text::quoted(std::string_view word) {
  constexpr std::size_t MAX_BYTES = 120;
  std::string result = "'";
  for (const char character : word.substr(0, MAX_BYTES)) {
    result += character >= ' ' && character <= '~' ? character : '?';
  }
  return result + (word.size() > MAX_BYTES ? "...'" : "'");
}

std::string text::hexadecimal(unsigned value) {
  char digits[16];
  std::snprintf(digits, sizeof digits, "0x%02X", value);
  return digits;
}
