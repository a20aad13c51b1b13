// The characters of a text in UTF-8.
#pragma once

#include <cstddef>
#include <string_view>

namespace text {

struct Utf8 {
  char32_t code;
  std::size_t bytes; // 0: no character of UTF-8 begins there
};

// The character that begins at `start`, which is within the text.
inline Utf8 utf8At(std::string_view text, std::size_t start) {
  const auto byteAt = [&](std::size_t place) { return static_cast<unsigned char>(text[place]); };
  const unsigned char first = byteAt(start);
  if (first < 0x80) {
    return {first, 1};
  }
  const std::size_t bytes = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
  if (first < 0xC2 || first > 0xF4 || start + bytes > text.size()) {
    return {0, 0};
  }
  char32_t code = first & (0x7FU >> bytes);
  for (std::size_t place = start + 1; place < start + bytes; place++) {
    if ((byteAt(place) & 0xC0U) != 0x80) {
      return {0, 0};
    }
    code = (code << 6) | (byteAt(place) & 0x3FU);
  }
  constexpr char32_t LEAST[] = {0x80, 0x800, 0x10000};
  return code < LEAST[bytes - 2] ? Utf8{0, 0} : Utf8{code, bytes};
}

// How many characters a text has; a byte that belongs to none counts as one.
inline std::size_t charactersIn(std::string_view text) {
  std::size_t count = 0;
  for (std::size_t start = 0; start < text.size(); count++) {
    const std::size_t bytes = utf8At(text, start).bytes;
    start += bytes > 0 ? bytes : 1;
  }
  return count;
}

} // namespace text
