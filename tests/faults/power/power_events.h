// What can happen to a service and a card that run, and may cost a port its power.
#pragma once

#include "tests/faults/power/power_scene.h"

#include <functional>
#include <string>
#include <vector>

struct PowerEvent {
  std::string name;
  // Lets the event happen in a new scene, and starts the watch where it begins. An event that can strike at
  // each transfer of an operation strikes at the scene's, and writes down how many there are.
  std::function<void(PowerScene& scene)> happen;
};

std::vector<PowerEvent> powerEvents();
