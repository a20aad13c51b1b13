// poe_card as the tests run it: with its output caught and a directory of its own
// for temporary files.
#pragma once

#include "tests/support/process/temporary_directory.h"

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

  // One line of the standard output, without its end; waits for it.
  std::string line();
  void send(int signal) const;
  pid_t pid() const { return m_pid; }
  // All that is left of the standard output; waits until nobody has it open.
  std::string rest();
  // One line of the standard error, as line().
  std::string errorLine();
  // What was written to the standard error, by poe_card or the command.
  std::string errors();
  // Waits for the end: the exit status, or minus the signal.
  int wait();

private:
  pid_t m_pid = -1;
  int m_out = -1;
  int m_err = -1;
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
