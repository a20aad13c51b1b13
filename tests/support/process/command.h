// Commands of a shell.
#pragma once

#include <cstdio>
#include <string>
#include <sys/wait.h>

struct CommandResult {
  int status;         // -1: ended by a signal
  std::string output; // standard output and standard error
};

inline CommandResult run(const std::string& command) {
  FILE* pipe = popen(("{ " + command + "; } 2>&1").c_str(), "r");
  std::string output;
  char block[4096];
  for (std::size_t length = 0; (length = fread(block, 1, sizeof block, pipe)) > 0;) {
    output.append(block, length);
  }
  const int status = pclose(pipe);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, output};
}
