// Shell commands for tests.
#pragma once

#include <cstdio>
#include <string>
#include <sys/wait.h>

struct ShellResult {
  int status;         // -1 when a signal ended it
  std::string output; // standard output and standard error
};

inline ShellResult run(const std::string& command) {
  FILE* pipe = popen(("{ " + command + "; } 2>&1").c_str(), "r");
  std::string output;
  char block[4096];
  for (std::size_t length = 0; (length = fread(block, 1, sizeof block, pipe)) > 0;) {
    output.append(block, length);
  }
  const int status = pclose(pipe);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, output};
}
