#include "text/text.h"

#include <cstdarg>
#include <cstdio>
#include <sstream>

std::string text::quoted(std::string_view word) {
  constexpr std::size_t MAX_BYTES = 120;
  std::string result = "'";
  for (const char character : word.substr(0, MAX_BYTES)) {
    result += character >= ' ' && character <= '~' ? character : '?';
  }
  return result + (word.size() > MAX_BYTES ? "...'" : "'");
}

std::string text::hexadecimal(unsigned value) {
  return formatted("0x%02X", value);
}

std::string text::joined(const std::vector<std::string>& words) {
  std::string line;
  for (const std::string& word : words) {
    line += line.empty() ? word : " " + word;
  }
  return line;
}

std::string text::formatted(const char* format, ...) {
  char text[256];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  return text;
}

std::string text::wrapped(std::string_view words, std::size_t indent) {
  constexpr std::size_t MAX_LENGTH = 79;
  std::istringstream stream{std::string(words)};
  std::string lines;
  std::string line;
  for (std::string word; stream >> word;) {
    if (!line.empty() && line.size() + 1 + word.size() > MAX_LENGTH) {
      lines += line + '\n';
      line.clear();
    }
    line += line.empty() ? std::string(indent, ' ') + word : ' ' + word;
  }
  return line.empty() ? lines : lines + line + '\n';
}

std::string text::helpEntry(std::string_view term, std::string_view description) {
  constexpr std::size_t COLUMN = 18;
  std::string entry = "  " + std::string(term);
  entry.erase(entry.find_last_not_of(' ') + 1);
  const std::string column = wrapped(description, COLUMN);
  if (entry.size() + 2 > COLUMN || column.empty()) {
    return entry + '\n' + column;
  }
  return entry + column.substr(entry.size());
}
