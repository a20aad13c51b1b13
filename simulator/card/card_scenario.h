// What happens to the card while a command runs on it: card commands, and between
// them "wait SECONDS". Blank lines and lines that begin with # say nothing.
#pragma once

#include "simulator/card/card_command.h"

#include <chrono>
#include <string>
#include <vector>

struct ScenarioStep {
  std::chrono::nanoseconds at; // since the start
  CardCommand command;
};

// In the order of their times. Everything is checked before the first step is due.
// Throws CardCommandError: "NAME:LINE: what is wrong; what is accepted".
std::vector<ScenarioStep> parseScenario(const std::string& text, const std::string& name);
