// Whether a text is a number, and which.
#pragma once

#include <charconv>
#include <optional>
#include <string_view>
#include <type_traits>

namespace text {

// The whole of `text` as a number of this base, or nothing: a sign that the type does not have, a blank, a
// unit after it or a value that the type cannot hold make it no number. The base is for whole numbers; a
// fraction is written with a decimal point and without an exponent.
template <typename Number>
std::optional<Number> numberFrom(std::string_view text, int base = 10) {
  Number number = 0;
  const char* const end = text.data() + text.size();
  std::from_chars_result result{};
  if constexpr (std::is_floating_point_v<Number>) {
    result = std::from_chars(text.data(), end, number, std::chars_format::fixed);
  } else {
    result = std::from_chars(text.data(), end, number, base);
  }
  return result.ec == std::errc() && result.ptr == end ? std::optional<Number>(number) : std::nullopt;
}

// The same for whole numbers, and a number with the prefix 0x is hexadecimal.
template <typename Number>
std::optional<Number> prefixedNumberFrom(std::string_view text) {
  const bool isHexadecimal = text.substr(0, 2) == "0x" || text.substr(0, 2) == "0X";
  return isHexadecimal ? numberFrom<Number>(text.substr(2), 16) : numberFrom<Number>(text);
}

} // namespace text
