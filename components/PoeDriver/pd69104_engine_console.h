// What the engine's console commands share: the table that dispatches them, the conversion of their arguments
// and the pieces that their replies are made of. Every label is a whole literal, blanks included: the texts
// are an interface and are kept as they are.
#pragma once

#include "pd69104_engine.h"
#include "poe_words.h"

#include <cstddef>
#include <cstdint>
#include <string>

// A command of the console; an empty name ends the table.
struct CommandEntry {
  std::string name;
  void (CPD69104Engine::*handler)(std::uint32_t argc, const char* const* argv, char* out,
                                  std::uint32_t outLen);
};

// The number that an argument stands for, as strtoul reads it: decimal, hexadecimal with the prefix 0x, octal
// with the prefix 0; anything else is 0. The result is the low 32 bits of an unsigned long. So a number from
// 2^32 on is 4294967295 where unsigned long has 32 bits, and loses its high bits where it has 64.
std::uint32_t numberArgument(const char* text);

// A reply on its way into the console's buffer: never more than its size is written, and what the reply
// leaves of it is filled with NUL at the end. A reply that fills the buffer is not ended by NUL. Belongs to
// one thread; allocates nothing.
class Reply {
public:
  Reply(char* out, std::uint32_t size) : m_out(out), m_left(size) {}
  Reply(const Reply&) = delete;
  Reply& operator=(const Reply&) = delete;
  ~Reply();

  void add(const char* text);

  // One line of a report: the label and the value.
  void addNumber(const char* label, std::uint32_t number);
  void addSigned(const char* label, std::int32_t number);
  void addFlag(const char* label, bool flag);
  void addWord(const char* label, const char* word);
  void addVolts(const char* label, std::uint32_t deciVolts); // with one decimal

  // At most 127 characters.
  [[gnu::format(__printf__, 2, 3)]] void print(const char* format, ...);

private:
  char* m_out;
  std::size_t m_left;
};

// The word for a code; a code outside the table is illegal.
template <std::size_t size>
const char* decode(const char* const (&words)[size], std::uint32_t code) {
  return code < size ? words[code] : ILLEGAL_CODE;
}
