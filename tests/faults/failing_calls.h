// Runs a program once for each of its system calls, by strace, and lets that one fail.
#pragma once

#include "tests/support/process/temporary_directory.h"

#include <functional>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <vector>

class FailingCalls : public ::testing::Test {
protected:
  struct End {
    int status = -1; // -1: by a signal
    std::string output;
    std::string errors;
  };

  struct Fault {
    std::string call;
    int when; // the call's number in the whole run
  };

  // What is left behind after a fault; empty when nothing is.
  using Remains = std::function<std::string(const Fault&)>;

  // The calls of a command of the shell, run with further options of strace, as `trace` has them: without
  // those of the loader, and of each call the first `most`, as a loop, over all processes for instance,
  // repeats what the first of its calls show.
  static std::vector<Fault> faultsOf(const std::string& trace, int most);

  // The options of strace that note the calls in a file, and that let one fail.
  static std::string noting(const std::string& trace);
  static std::string injecting(const Fault& fault);

  // A command of the shell under strace with these further options, as it ends.
  End run(const std::string& options, const std::string& command) const;

  // Checks how a program ends that ends like `good` unless a call fails.
  static void expectEnd(const End& end, const End& good, const std::string& what);

  // Lets each call of a command fail, but for those `without`, and expects its end, with nothing left behind.
  // Returns how many there were.
  std::size_t failEach(const std::string& command, const std::string& options, int most,
                       const Remains& remains, const std::set<std::string>& without = {});

  const TemporaryDirectory m_folder;
  const std::string m_trace = m_folder.file("trace");
  const std::string m_output = m_folder.file("output");
  const std::string m_errors = m_folder.file("errors");
};
