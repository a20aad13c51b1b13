// The arguments of one command line, taken one after the other. One that is missing or wrong throws
// CardCommandError.
#pragma once

#include "simulator/chip/chip_words.h"

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

// In one line what is wrong with a command and what is accepted.
class CardCommandError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

class CommandArguments {
public:
  // `accepted`: the command with its arguments and their ranges.
  CommandArguments(const std::string& line, std::string accepted);

  bool more() const { return m_next < m_words.size(); }
  // `what` is the argument's name in `accepted`.
  std::string word(const char* what);
  // Decimal, or hexadecimal with the prefix 0x.
  unsigned number(const char* what, unsigned least, unsigned most);
  double decimal(const char* what, double least, double most);
  unsigned port() { return number("PORT", 0, ChipModel::PORTS - 1); }

  template <typename Value, std::size_t COUNT>
  Value oneOf(const char* what, const Words<Value, COUNT>& choices) {
    const std::string chosen = word(what);
    for (const auto& [name, value] : choices) {
      if (chosen == name) {
        return value;
      }
    }
    wrong(what);
  }

  // If the next word begins with `key` (which ends in "="), the key is taken off and the rest is left for the
  // next call of the above.
  bool takeKey(const char* key);

  void end() const;
  // The word that was taken last is not `what`.
  [[noreturn]] void wrong(const char* what) const;
  [[noreturn]] void fail(const std::string& reason) const;

private:
  std::vector<std::string> m_words;
  std::size_t m_next = 1; // after the command itself
  std::string m_key;      // taken off the word that is next or was taken last
  std::string m_accepted;
};
