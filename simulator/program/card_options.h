// The command line of poe_card.
#pragma once

#include "simulator/card/card_command.h"

#include <stdexcept>
#include <string>
#include <vector>

struct CardOptions {
  std::vector<TimedCommand> commands; // of --plug and --command, in their order
  bool adapter = true;
  bool chipPresent = true;
  bool help = false;
  bool version = false;
  std::string controlPath; // of these, empty: none
  std::string virtioPath;
  std::string recordFile;
  bool recordTimes = false;
  bool stepped = false;
  std::string logFile; // empty: the command's syslog lines are left alone
  bool logTimes = false;
  std::vector<std::string> command;
};

// What is wrong with a command line and what is accepted instead, in one line.
class UsageError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

// What --help prints.
std::string cardHelp();

// Throws UsageError.
CardOptions parseCardOptions(int argc, char** argv);
