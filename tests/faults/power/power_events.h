// What can happen to a service and a card that run, and may cost a port its power.
#pragma once

#include "tests/faults/power/power_scene.h"

#include <functional>
#include <string>
#include <vector>

struct PowerEvent {
  std::string name;
  // Lets the event happen in a new scene, and starts the watch where it begins. An event that can strike at
  // each transfer of an operation strikes at the one of this number, or not at all with 0; the result is how
  // many transfers there are, 0 for other events.
  std::function<unsigned(PowerScene& scene, unsigned transfer)> happen;
};

std::vector<PowerEvent> powerEvents();
