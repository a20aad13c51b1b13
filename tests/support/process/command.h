// Commands of a shell.
#pragma once

#include <cstdio>
#include <ostream>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <vector>

struct CommandResult {
  int status;         // -1: ended by a signal
  std::string output; // standard output and standard error

  bool operator==(const CommandResult& other) const {
    return status == other.status && output == other.output;
  }
};

// For a failed comparison.
inline void PrintTo(const CommandResult& result, std::ostream* out) {
  *out << "status " << result.status << " and\n" << result.output;
}

// What poectl gives when all is well, when it fails, and when it refuses what it is told.
inline CommandResult printed(const std::string& text) {
  return {0, text};
}
inline CommandResult failedWith(const std::string& reason) {
  return {1, "poectl: " + reason + "\n"};
}
inline CommandResult refusedWith(const std::string& reason) {
  return {2, "poectl: " + reason + "\n"};
}

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

inline std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream all(text);
  for (std::string line; std::getline(all, line);) {
    lines.push_back(line);
  }
  return lines;
}
