// The words of a command line as one line.
#pragma once

#include <string>
#include <vector>

inline std::string joinWords(const std::vector<std::string>& words) {
  std::string line;
  for (const std::string& word : words) {
    line += line.empty() ? word : " " + word;
  }
  return line;
}
