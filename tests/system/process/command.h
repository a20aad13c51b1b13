// poectl as a command of a shell.
#pragma once

#include "tests/support/process/command.h"

inline CommandResult poectl(const std::string& arguments) {
  return run(std::string(POECTL) + " " + arguments);
}
