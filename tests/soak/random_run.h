// The two long random runs of the service. Both print what happened and what was wrong. They return true when
// nothing was.
#pragma once

#include <cstdint>

struct RunOptions {
  std::uint64_t cycles = 20000;
  std::uint64_t seed = 1;
  bool isThreaded = false;
};

// Cycle by cycle beside the model, with the invariants checked after each. The same seed gives the same
// run.
bool steppedRun(const RunOptions& options);

// With configurations and console commands from threads of their own, checked after a quiet end. The seed
// decides what the card does, but not the order of the threads.
bool threadedRun(const RunOptions& options);

// Shows on a terminal how far a run has come.
void showProgress(std::uint64_t cycle, std::uint64_t cycles);
