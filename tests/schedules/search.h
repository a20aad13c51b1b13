// Which schedules a series of runs tries.
#pragma once

#include "tests/schedules/scheduler.h"

#include <cstdint>
#include <random>
#include <vector>

// All schedules with up to a number of preemptions, one after another. Which thread follows one that waits or
// ends is tried in all ways and does not count, unless `countsEveryChange`: then whatever differs from the
// default counts.
class BoundedSearch : public Search {
public:
  BoundedSearch(unsigned preemptions, bool countsEveryChange)
      : m_bound(preemptions), m_countsEveryChange(countsEveryChange) {}

  unsigned choose(unsigned step, const Candidates& candidates) override;

  // Ends a run. False when it was the last.
  bool next();

  // True when the run that has just ended had as many preemptions as there may be.
  bool isNew() const { return m_spent == m_bound; }

private:
  struct Choice {
    Candidates candidates;
    unsigned index;
    unsigned spent; // preemptions before it
  };

  unsigned costOf(const Candidates& candidates, unsigned index) const;

  unsigned m_bound;
  bool m_countsEveryChange;
  std::vector<Choice> m_choices;
  std::size_t m_depth = 0;
  unsigned m_spent = 0;
};

// A random schedule by priority: the thread of the highest priority runs; at a few random steps the thread
// that runs falls to the lowest priority.
class RandomSearch : public Search {
public:
  static constexpr unsigned CHANGES = 3;

  // `steps`: of a run, about.
  RandomSearch(std::uint64_t seed, unsigned steps);

  unsigned choose(unsigned step, const Candidates& candidates) override;

private:
  std::mt19937_64 m_random;
  std::array<int, Scheduler::MAX_THREADS> m_priority{};
  std::array<unsigned, CHANGES> m_changes{};
  unsigned m_next = 0; // of the changes
  int m_lowest = 0;
};

// A schedule that a failure has printed.
class Replay : public Search {
public:
  explicit Replay(Schedule schedule) : m_schedule(std::move(schedule)) {}

  unsigned choose(unsigned step, const Candidates& candidates) override;

private:
  Schedule m_schedule;
};
