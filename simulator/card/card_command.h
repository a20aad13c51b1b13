// The words that change the simulated card or tell about it: the same on the
// control socket, in a scenario and in --plug.
#pragma once

#include "simulator/bus/bus_faults.h"
#include "simulator/chip/chip_model.h"

#include <functional>
#include <stdexcept>
#include <string>

struct Card {
  ChipModel chip;
  BusFaults bus;
};

struct CardCommand {
  // Cannot fail. The reply: "ok\n", or the lines of a command that tells something.
  std::function<std::string(Card&)> run;
  bool tells = false; // changes nothing
};

// In one line what is wrong with a command and what is accepted.
class CardCommandError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

// One command from one line. Everything that can be wrong is found here, before
// anything is changed. Throws CardCommandError.
CardCommand parseCardCommand(const std::string& line);

// "plug, unplug, ... and help".
std::string cardCommandNames();
