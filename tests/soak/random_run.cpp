#include "tests/soak/random_run.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <malloc.h>
#include <unistd.h>

namespace {

std::size_t entriesIn(const char* directory) {
  return static_cast<std::size_t>(
      std::distance(std::filesystem::directory_iterator(directory), std::filesystem::directory_iterator()));
}

std::string grown(const char* what, std::size_t first, std::size_t last, std::size_t room = 0) {
  return last <= first + room ? ""
                              : std::string(what) + ": " + std::to_string(first) + ", in the end " +
                                    std::to_string(last) + "\n";
}

} // namespace

void RandomRun::expectNothing(const std::string& wrong) {
  if (!wrong.empty() && m_isGood) {
    std::printf("wrong in cycle %" PRIu64 ":\n%sagain with: %s--seed %" PRIu64 " --cycles %" PRIu64 "\n",
                m_cycle, wrong.c_str(), m_options.isThreaded ? "--threads " : "", m_options.seed,
                m_options.isThreaded ? m_options.cycles : m_cycle + 1);
    m_isGood = false;
  }
}

void RandomRun::weigh() {
  if (m_cycle == warmUp()) {
    m_first = footprint();
  }
  if (m_cycle == m_options.cycles) {
    m_last = footprint();
    expectNothing(growth());
  }
}

void RandomRun::showProgress() const {
  static const bool isTerminal = isatty(STDERR_FILENO) != 0;
  if (isTerminal && (m_cycle % 1000 == 0 || m_cycle == m_options.cycles)) {
    std::fprintf(stderr, "\r%" PRIu64 " of %" PRIu64 " cycles", m_cycle, m_options.cycles);
  }
}

void RandomRun::printEventsAndFootprint() const {
  std::printf("%" PRIu64 " events counted, %" PRIu64 " counters wrapped unseen, %" PRIu64
              " times all lost with the chip's power\n",
              m_invariants.events, m_invariants.wrapped, m_invariants.lostCounts);
  std::printf("heap %zu and %zu bytes, open files %zu and %zu, threads %zu and %zu: in cycle %" PRIu64
              " and in the last\n",
              m_first.heap, m_last.heap, m_first.descriptors, m_last.descriptors, m_first.threads,
              m_last.threads, warmUp());
}

RandomRun::Footprint RandomRun::footprint() {
  return {mallinfo2().uordblks, entriesIn("/proc/self/fd"), entriesIn("/proc/self/task")};
}

std::uint64_t RandomRun::warmUp() const {
  return std::min<std::uint64_t>(1000, m_options.cycles);
}

std::string RandomRun::growth() const {
  return grown("bytes in the heap", m_first.heap, m_last.heap, m_heapRoom) +
         grown("open files", m_first.descriptors, m_last.descriptors) +
         grown("threads", m_first.threads, m_last.threads);
}
