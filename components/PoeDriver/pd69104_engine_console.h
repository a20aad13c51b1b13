// What the engine's console commands share: the table that dispatches them, the conversion of their arguments
// and the pieces that their replies are made of. Every label is a whole literal, blanks included: the texts
// are an interface and are kept as they are.
#pragma once

#include "pd69104_engine.h"
#include "poe_words.h"

#include <cstddef>
#include <cstdint>
#include <sstream>
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

// Copies a reply into the console's buffer: never more than outLen bytes, filled up with NUL, not ended by
// NUL when the reply fills the buffer.
void copyReply(const std::string& reply, char* out, std::uint32_t outLen);

// The word for a code; a code outside the table is illegal.
template <std::size_t size>
const char* decode(const char* const (&words)[size], std::uint32_t code) {
  return code < size ? words[code] : ILLEGAL_CODE;
}

// One line of a report: the label and the value.
void writeNumber(std::ostringstream& report, const char* label, std::uint32_t number);
void writeSigned(std::ostringstream& report, const char* label, std::int32_t number);
void writeFlag(std::ostringstream& report, const char* label, bool flag);
void writeWord(std::ostringstream& report, const char* label, const char* word);
void writeVolts(std::ostringstream& report, const char* label, std::uint32_t deciVolts); // with one decimal
