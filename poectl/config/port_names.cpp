#include "poectl/config/port_names.h"

#include "poectl/config/config_file.h"
#include "text/utf8.h"

#include <cstdlib>

namespace {

struct Range {
  char32_t first;
  char32_t last;
};

// Control characters, line ends, and marks that change the direction of the text on a terminal.
constexpr Range NOT_PRINTABLE[] = {{0, 0x1F},        {0x7F, 0x9F},     {0xAD, 0xAD},     {0x61C, 0x61C},
                                   {0x200B, 0x200F}, {0x2028, 0x202E}, {0x2060, 0x206F}, {0xD800, 0xF8FF},
                                   {0xFEFF, 0xFEFF}, {0xFFF0, 0xFFFB}, {0xFFFE, 0xFFFF}, {0xE0000, 0x10FFFF}};

bool isPrintable(char32_t character) {
  for (const Range& range : NOT_PRINTABLE) {
    if (character >= range.first && character <= range.last) {
      return false;
    }
  }
  return true;
}

} // namespace

bool isPortName(const std::string& text) {
  unsigned count = 0;
  for (std::size_t start = 0; start < text.size(); count++) {
    const text::Utf8 character = text::utf8At(text, start);
    if (character.bytes == 0 || !isPrintable(character.code)) {
      return false;
    }
    start += character.bytes;
  }
  return count > 0 && count <= MAX_PORT_NAME;
}

PortNames portNames(const std::string& option) {
  const std::string path = configPath(option);
  try {
    return path.empty() ? PortNames{} : readConfigFile(path).names;
  } catch (const InputError& error) {
    throw option.empty() ? InputError(std::string("POECTL_FILE names ") + error.what()) : error;
  }
}

std::string configPath(const std::string& option) {
  const char* const variable = std::getenv("POECTL_FILE");
  return !option.empty() || variable == nullptr ? option : variable;
}
