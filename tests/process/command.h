// poectl as a command of a shell.
#pragma once

#include "tests/support/command.h"

inline CommandResult poectl(const std::string& arguments) {
  return run(std::string(POECTL) + " " + arguments);
}
