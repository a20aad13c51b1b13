#include "tests/process/command.h"

#include <cstdio>
#include <sys/wait.h>

CommandResult run(const std::string& command) {
  FILE* pipe = popen(("{ " + command + "; } 2>&1").c_str(), "r");
  std::string output;
  char block[4096];
  for (std::size_t length = 0; (length = fread(block, 1, sizeof block, pipe)) > 0;) {
    output.append(block, length);
  }
  const int status = pclose(pipe);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, output};
}

CommandResult poectl(const std::string& arguments) {
  return run(std::string(POECTL) + " " + arguments);
}
