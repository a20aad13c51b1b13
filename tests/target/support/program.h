// A program that a test has started.
#pragma once

#include "tests/support/process/wait_until.h"

#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

class Program {
public:
  // Starts it with its standard output and error in a file of its own. `prepare` runs in the new process
  // before.
  explicit Program(const std::vector<std::string>& commandLine, const std::function<void()>& prepare = {});
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;
  ~Program(); // kills it when it still runs

  pid_t pid() const { return m_pid; }
  std::string output() const;

  bool isRunning();

  // Waits for the end. Returns the exit status, for a program that a signal has ended 128 and its number, and
  // -1, after a test failure, for one that goes on.
  int wait(std::chrono::milliseconds timeout = MAX_WAIT);

private:
  std::string m_outputFile;
  pid_t m_pid;
  bool m_ended = false;
  int m_status = 0;
};

struct Result {
  int status;
  std::string output;
};

// The number after a name, such as "VmRSS:", in the status of a process or thread, whose folder of /proc this
// is. -1, after a test failure, when there is none.
long statusValue(const std::string& folder, const std::string& name);

// What a process has used up to now.
struct Footprint {
  long memory; // kB of resident memory
  std::chrono::microseconds processorTime;
};
Footprint footprintOf(pid_t pid);

// Runs a program to its end.
Result run(const std::vector<std::string>& commandLine, std::chrono::milliseconds timeout = MAX_WAIT);
