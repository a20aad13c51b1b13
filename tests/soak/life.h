// The two random lives of the service. Both print what they have seen, and what was wrong; true: nothing was.
#pragma once

#include <cstdint>

struct LifeOptions {
  std::uint64_t cycles = 20000;
  std::uint64_t seed = 1;
  bool isThreaded = false;
};

// Cycle by cycle beside the model, with the invariants checked after each. The same seed gives the same life.
bool steppedLife(const LifeOptions& options);

// With configurations and console commands from threads of their own; checked in the calm after it. What the
// card does follows from the seed, the order of the threads does not.
bool threadedLife(const LifeOptions& options);

// Shows on a terminal how far a life has come.
void showProgress(std::uint64_t cycle, std::uint64_t cycles);
