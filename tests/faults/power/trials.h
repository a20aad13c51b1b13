// Every event of the table tried, at every transfer where it can strike.
#pragma once

#include "tests/faults/power/power_events.h"

#include <string>
#include <vector>

struct Trial {
  unsigned transfer; // where it struck; 0 for an event that strikes at no transfer
  PowerHistories ports;
};

struct TriedEvent {
  std::string name;
  std::vector<Trial> trials;
};

std::vector<TriedEvent> tryAll();
