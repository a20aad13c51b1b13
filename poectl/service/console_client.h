// The debug console of the service, one command at a time.
#pragma once

#include <chrono>
#include <stdexcept>
#include <string>

class ConsoleError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

// A command that cannot be sent.
class ConsoleInputError : public ConsoleError {
public:
  using ConsoleError::ConsoleError;
};

// Sends one command line, without its line end, over a connection of its own and returns the reply as it
// came. Throws ConsoleError, whose text is one clear line, when nothing listens, the console refuses or
// nothing comes for the time of `patience`.
std::string askConsole(const std::string& command,
                       std::chrono::milliseconds patience = std::chrono::seconds(10));

// The line to send for the words of a command: they are joined by blanks, and the engine's name is put in
// front of a bare command of the engine ("channel 0"). Throws ConsoleInputError for a word that cannot be
// sent.
std::string consoleLine(const std::string& words);
