// Commands from standard input, one per line.
#pragma once

#include "poectl/config/input_file.h"

#include <istream>
#include <string>

// Reads the next line, without its end. False at the end of the input. Throws InputError for a line of more
// than 4096 bytes: no command is that long, and what feeds us may never end one.
inline bool nextCommandLine(std::istream& input, std::string& line) {
  constexpr std::size_t MAX_LENGTH = 4096; // bytes
  line.clear();
  int character = 0;
  while ((character = input.get()) != std::istream::traits_type::eof() && character != '\n') {
    line += static_cast<char>(character);
    if (line.size() > MAX_LENGTH) {
      throw InputError("standard input: a command is too long; at most " + std::to_string(MAX_LENGTH) +
                       " bytes are accepted");
    }
  }
  return character == '\n' || !line.empty();
}
