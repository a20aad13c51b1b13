// The two long random runs of the service. Both print what happened and what was wrong. They return true when
// nothing was.
#pragma once

#include "tests/soak/run_invariants.h"
#include "tests/support/model/random_card.h"

#include <cstddef>
#include <cstdint>
#include <string>

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

// What both runs share: the card, the count of cycles, and what the process holds after the first of them and
// after the last.
class RandomRun {
protected:
  // `heapRoom` bytes are left to the buffers of the run itself.
  RandomRun(const RunOptions& options, std::size_t heapRoom)
      : m_options(options), m_card(options.seed), m_heapRoom(heapRoom) {}

  // Ends the run with a message when something was wrong.
  void expectNothing(const std::string& wrong);

  // To be called in each cycle.
  void weigh();

  // Shows on a terminal how far the run has come.
  void showProgress() const;

  void printEventsAndFootprint() const;

  const RunOptions m_options;
  RandomCard m_card;
  RunInvariants m_invariants{m_card};
  std::uint64_t m_cycle = 0;
  bool m_isGood = true;

private:
  struct Footprint {
    std::size_t heap;        // bytes in use; 0 where the allocator does not tell, as under a sanitizer
    std::size_t descriptors; // open files
    std::size_t threads;
  };

  static Footprint footprint();
  std::uint64_t warmUp() const; // cycles until the run's own buffers have their size
  std::string growth() const;

  const std::size_t m_heapRoom;
  Footprint m_first{};
  Footprint m_last{};
};
