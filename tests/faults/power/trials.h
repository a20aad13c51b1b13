// Every event of the table tried, at every transfer where it can strike.
#pragma once

#include "tests/faults/power/power_events.h"

#include <functional>
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

// `progress` is told before each event how many of how many are tried.
std::vector<TriedEvent> tryAll(const std::function<void(std::size_t done, std::size_t all)>& progress);
