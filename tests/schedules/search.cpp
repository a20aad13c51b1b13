#include "tests/schedules/search.h"

#include <algorithm>

unsigned BoundedSearch::costOf(const Candidates& candidates, unsigned index) const {
  return candidates.preempts.at(index) || (m_countsEveryChange && index != 0) ? 1 : 0;
}

unsigned BoundedSearch::choose(unsigned /*step*/, const Candidates& candidates) {
  if (m_depth == m_choices.size()) {
    m_choices.push_back({candidates, 0, m_spent});
  }
  const Choice& choice = m_choices[m_depth];
  if (choice.candidates.thread != candidates.thread || choice.candidates.count != candidates.count) {
    return candidates.count; // the run is not the same as before
  }
  m_depth++;
  m_spent += costOf(candidates, choice.index);
  return choice.index;
}

bool BoundedSearch::next() {
  m_depth = 0;
  m_spent = 0;
  while (!m_choices.empty()) {
    Choice& last = m_choices.back();
    while (++last.index < last.candidates.count) {
      if (last.spent + costOf(last.candidates, last.index) <= m_bound) {
        return true;
      }
    }
    m_choices.pop_back();
  }
  return false;
}

RandomSearch::RandomSearch(std::uint64_t seed, unsigned steps) : m_random(seed) {
  for (unsigned i = 0; i < Scheduler::MAX_THREADS; i++) {
    m_priority.at(i) = static_cast<int>(i) + 1;
  }
  std::shuffle(m_priority.begin(), m_priority.end(), m_random);
  for (unsigned& change : m_changes) {
    change = static_cast<unsigned>(m_random() % steps);
  }
  std::sort(m_changes.begin(), m_changes.end());
}

unsigned RandomSearch::choose(unsigned step, const Candidates& candidates) {
  const auto priorityOf = [&](unsigned index) { return m_priority.at(candidates.thread.at(index)); };
  const auto best = [&] {
    unsigned found = 0;
    for (unsigned i = 1; i < candidates.count; i++) {
      const bool isComparable = candidates.timesOut.at(i) == candidates.timesOut.at(0);
      found = isComparable && priorityOf(i) > priorityOf(found) ? i : found;
    }
    return found;
  };
  while (m_next < CHANGES && m_changes.at(m_next) <= step) {
    m_next++;
    if (candidates.timesOut.at(candidates.count - 1) && m_random() % 2 == 0) {
      return candidates.count - 1;
    }
    m_priority.at(candidates.thread.at(best())) = --m_lowest;
  }
  return best();
}

unsigned Replay::choose(unsigned step, const Candidates& candidates) {
  const auto deviation = std::find_if(m_schedule.begin(), m_schedule.end(),
                                      [step](const auto& entry) { return entry.first == step; });
  if (deviation == m_schedule.end()) {
    return 0;
  }
  const auto* const end = candidates.thread.begin() + candidates.count;
  return static_cast<unsigned>(std::find(candidates.thread.begin(), end, deviation->second) -
                               candidates.thread.begin());
}
