// Pieces of text that several programs write in the same way.
#pragma once

#include <string>
#include <string_view>

namespace text {

// A word from outside as an error line repeats it: in single quotes, each byte that is not printable ASCII as
// '?', and only its first 120 bytes, followed by "...".
std::string quoted(std::string_view word);

// A register or a value as the documents write them: "0x0C", at least two digits, in upper case.
std::string hexadecimal(unsigned value);

} // namespace text
