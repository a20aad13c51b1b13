#include "simulator/card/quoted.h"

std::string quoted(const std::string& word) {
  constexpr std::size_t LONGEST = 120;
  std::string text = "'";
  for (const char character : word.substr(0, LONGEST)) {
    text += character >= ' ' && character <= '~' ? character : '?';
  }
  return text + (word.size() > LONGEST ? "...'" : "'");
}
