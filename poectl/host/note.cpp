#include "poectl/host/note.h"

#include <cstdio>

void printNote(const std::string& line) {
  std::fprintf(stderr, "poectl: %s\n", line.c_str());
}

std::string transferNote(const std::string& what, unsigned transfers) {
  return "reads " + what + " with " + std::to_string(transfers) + " transfers on the chip's bus";
}
