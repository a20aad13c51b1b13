// A terminal of tmux: what a program on it shows, and keys for it.
#pragma once

#include "tests/support/process/temporary_directory.h"

#include <string>

class TmuxTerminal {
public:
  // Why no terminal can be had, as in a chroot without devpts; empty when one can.
  static std::string refusal();

  // Runs a command line of the shell on a terminal of 80x24. When it ends, the terminal shows "status N" and,
  // if the terminal's settings are those from before, "settings kept".
  explicit TmuxTerminal(const std::string& command);
  TmuxTerminal(const TmuxTerminal&) = delete;
  TmuxTerminal& operator=(const TmuxTerminal&) = delete;
  ~TmuxTerminal(); // hangs up

  // Sends the signal to the program.
  void signal(int number) const;

  // Keys by tmux's names: "1 u", "C-c", "PPage".
  void press(const std::string& keys);
  void resize(unsigned columns, unsigned rows);

  // The rows that the terminal shows, without blanks at their ends.
  std::string screen() const;
  // Row from 0.
  std::string row(unsigned number) const;

  // Waits until the screen contains `text`. False when it does not come.
  bool shows(const std::string& text) const;

  // Everything that the program has sent to the terminal so far.
  std::string sent() const;

private:
  std::string tmux(const std::string& arguments) const;

  const TemporaryDirectory m_folder;
};
