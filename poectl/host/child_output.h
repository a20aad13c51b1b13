// What another program prints, within a deadline and a size.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

struct ChildLimits {
  std::chrono::milliseconds time{5000};
  std::size_t bytes = 65536;
};

struct ChildOutput {
  std::string text;    // standard output, then made visible; at most the limit
  std::string problem; // why it is missing or incomplete, one line; empty when the program ended well
};

// Runs a program of PATH without a shell, with no standard input and with its messages of standard error left
// out. A child that takes too long or prints too much is killed. Never throws for what the child does.
ChildOutput runChild(const std::vector<std::string>& words, const ChildLimits& limits = {});
