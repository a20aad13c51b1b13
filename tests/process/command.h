// poectl as a command of a shell.
#pragma once

#include "tests/support/shell.h"

inline ShellResult poectl(const std::string& arguments) {
  return run(std::string(POECTL) + " " + arguments);
}
