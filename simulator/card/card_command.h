// The commands that change or describe the simulated card. They are the same on the control socket and on the
// command line of poe_card.
#pragma once

#include "simulator/card/card.h"
#include "simulator/card/command_arguments.h"

#include <chrono>
#include <functional>
#include <string>

struct CardCommand {
  // Cannot fail. The reply: "ok\n", or the lines of a command that describes something.
  std::function<std::string(Card&)> run;
  bool describes = false; // changes nothing
};

// One command from one line. Everything that can be wrong is found here, before anything is changed. Throws
// CardCommandError.
CardCommand parseCardCommand(const std::string& line);

// A command that is carried out while a program runs on the card.
struct TimedCommand {
  std::chrono::nanoseconds at; // since the start, 0 or more
  CardCommand command;
};

// "[SECONDS] COMMAND": a command that changes the card, SECONDS (0 to 1000000, default 0) after the start.
// Throws CardCommandError.
TimedCommand parseTimedCommand(const std::string& text);

// "plug, unplug, ... and help".
std::string cardCommandNames();
