// Commands of a shell, and poectl's among them.
#pragma once

#include <string>

struct CommandResult {
  int status;         // -1: ended by a signal
  std::string output; // standard output and standard error
};

CommandResult run(const std::string& command);
CommandResult poectl(const std::string& arguments);
