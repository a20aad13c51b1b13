// poe_card as the tests run it: with its output caught and a directory of its own
// for temporary files.
#pragma once

#include "posix/file_descriptor.h"
#include "tests/support/process/temporary_directory.h"

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include <sys/types.h>

class CardProcess {
public:
  // Starts poe_card with these arguments; `tmp` becomes its TMPDIR.
  CardProcess(const std::filesystem::path& tmp, const std::vector<std::string>& arguments);
  // Kills poe_card if it still runs.
  ~CardProcess();
  CardProcess(const CardProcess&) = delete;
  CardProcess& operator=(const CardProcess&) = delete;

  // One line of the standard output or error, without its end; waits for it.
  std::string line() { return lineOf(m_out); }
  std::string errorLine() { return lineOf(m_err); }
  // All that is left of them, written by poe_card or the command; waits until nobody has them open.
  std::string rest() { return restOf(m_out); }
  std::string errors() { return restOf(m_err); }
  void send(int signal) const { kill(m_pid, signal); }
  pid_t pid() const { return m_pid; }
  // Waits for the end: the exit status, or minus the signal.
  int wait();

private:
  static std::string lineOf(const FileDescriptor& file);
  static std::string restOf(const FileDescriptor& file);

  pid_t m_pid = -1;
  FileDescriptor m_out;
  FileDescriptor m_err;
};

struct CardResult {
  int status; // exit status, or minus the signal
  std::string out;
  std::string err;
  bool leftFiles; // in the directory for temporary files
};

// Runs poe_card to its end; `tmp` becomes its TMPDIR, a directory of its own unless there is one.
CardResult runCard(const std::vector<std::string>& arguments);
CardResult runCard(const std::filesystem::path& tmp, const std::vector<std::string>& arguments);

// Runs poe_card with these options and the probe, of which each word is a step.
CardResult runProbe(const std::vector<std::string>& options, const std::vector<std::string>& words);

// Expects a poe_card that has run nothing and says why not in this line.
void expectRefusal(const CardResult& result, const std::string& line);
