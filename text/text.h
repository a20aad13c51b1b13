// Pieces of text that several programs write in the same way.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace text {

// A word from outside as an error line repeats it: in single quotes, each byte that is not printable ASCII as
// '?', and only its first 120 bytes, followed by "...".
std::string quoted(std::string_view word);

// A register or a value as the documents write them: "0x0C", at least two digits, in upper case.
std::string hexadecimal(unsigned value);

// The words as one line, with a blank between them.
std::string joined(const std::vector<std::string>& words);

// printf into a string of at most 255 bytes; the rest is cut off.
[[gnu::format(printf, 1, 2)]] std::string formatted(const char* format, ...);

// Breaks words into lines of at most 79 characters. Each line begins with `indent` blanks and has a line end;
// a longer word has a line of its own. Empty when there are no words.
std::string wrapped(std::string_view words, std::size_t indent = 0);

// An option, a command or another term of a help text, and what it does in a column beside it.
std::string helpEntry(std::string_view term, std::string_view description);

} // namespace text
