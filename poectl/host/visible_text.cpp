#include "poectl/host/visible_text.h"

namespace {

void appendVisible(std::string& shown, char character) {
  constexpr char DIGITS[] = "0123456789ABCDEF";
  if (character >= ' ' && character <= '~') {
    shown += character;
    return;
  }
  const auto byte = static_cast<unsigned char>(character);
  shown += {'\\', 'x', DIGITS[byte >> 4], DIGITS[byte & 0xF]};
}

} // namespace

std::string visibleText(const std::string& text) {
  std::string shown;
  for (std::size_t index = 0; index < text.size(); index++) {
    const char character = text[index];
    const bool endsLine = character == '\n' || text.compare(index, 2, "\r\n") == 0;
    if (endsLine || character == '\t') {
      shown += character;
    } else {
      appendVisible(shown, character);
    }
  }
  return shown;
}

std::string visibleLine(const std::string& text) {
  std::string shown;
  for (const char character : text) {
    appendVisible(shown, character);
  }
  return shown;
}
