#include "simulator/card/command_arguments.h"

#include "text/number.h"
#include "text/text.h"

#include <cstring>
#include <iterator>
#include <sstream>
#include <utility>

CommandArguments::CommandArguments(const std::string& line, std::string accepted)
    : m_accepted(std::move(accepted)) {
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
  const auto value = text::prefixedNumberFrom<unsigned>(word(what));
  if (!value || *value < least || *value > most) {
    wrong(what);
  }
  return *value;
}

double CommandArguments::decimal(const char* what, double least, double most) {
  const auto value = text::numberFrom<double>(word(what));
  // Said in this way round, it is false for a NaN.
  if (!value || !(*value >= least && *value <= most)) {
    wrong(what);
  }
  return *value;
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
