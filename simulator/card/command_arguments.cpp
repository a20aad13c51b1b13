#include "simulator/card/command_arguments.h"

#include "text/text.h"

#include <charconv>
#include <cstring>
#include <iterator>
#include <sstream>

namespace {

template <typename Number>
bool parsed(const char* first, const char* last, Number* number, int base) {
  const auto [stop, error] = std::from_chars(first, last, *number, base);
  return error == std::errc() && stop == last;
}

bool parseNumber(const std::string& text, unsigned* number) {
  const char* first = text.data();
  const char* last = first + text.size();
  const bool isHexadecimal = text.compare(0, 2, "0x") == 0 || text.compare(0, 2, "0X") == 0;
  return isHexadecimal ? parsed(first + 2, last, number, 16) : parsed(first, last, number, 10);
}

bool parseDecimal(const std::string& text, double* number) {
  const char* last = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), last, *number, std::chars_format::fixed);
  return error == std::errc() && stop == last;
}

} // namespace

CommandArguments::CommandArguments(const std::string& line, const char* accepted) : m_accepted(accepted) {
  std::istringstream words(line);
  m_words.assign(std::istream_iterator<std::string>(words), {});
}

std::string CommandArguments::word(const char* what) {
  if (!more()) {
    fail(std::string(what) + " is missing");
  }
  return m_words.at(m_next++);
}

unsigned CommandArguments::number(const char* what, unsigned least, unsigned most) {
  unsigned value = 0;
  if (!parseNumber(word(what), &value) || value < least || value > most) {
    wrong(what);
  }
  return value;
}

double CommandArguments::decimal(const char* what, double least, double most) {
  double value = 0.0;
  // Said in this way round, it is false for a NaN.
  if (!parseDecimal(word(what), &value) || !(value >= least && value <= most)) {
    wrong(what);
  }
  return value;
}

bool CommandArguments::takeKey(const char* key) {
  m_key.clear();
  std::string& next = m_words.at(m_next);
  const std::size_t length = std::strlen(key);
  if (next.compare(0, length, key) != 0) {
    return false;
  }
  m_key = key;
  next.erase(0, length);
  return true;
}

void CommandArguments::end() const {
  if (more()) {
    fail(text::quoted(m_words.at(m_next)) + " is one word too many");
  }
}

void CommandArguments::wrong(const char* what) const {
  fail(text::quoted(m_key + m_words.at(m_next - 1)) + " is no " + m_key + what);
}

void CommandArguments::fail(const std::string& reason) const {
  throw CardCommandError(reason + "; accepted is " + m_accepted);
}
