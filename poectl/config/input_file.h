// Text files that a person has written.
#pragma once

#include <stdexcept>
#include <string>

// A file that is refused. The text is one line: where, what was wrong, what is accepted.
class InputError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

// How errors name the file: its path, or "standard input" when the path is "-".
std::string inputName(const std::string& path);

// The whole file, or standard input when the path is "-"; at most 65536 bytes. Throws InputError.
std::string readInput(const std::string& path);
