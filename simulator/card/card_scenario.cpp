#include "simulator/card/card_scenario.h"

#include "simulator/card/command_arguments.h"

#include <sstream>

namespace {

constexpr double LONGEST_WAIT = 1e6;                // s
constexpr std::chrono::seconds LONGEST{1000000000}; // a scenario

std::chrono::nanoseconds parseWait(const std::string& line) {
  CommandArguments arguments(line, "wait SECONDS with SECONDS 0 to 1000000");
  const std::chrono::duration<double> wait(arguments.decimal("SECONDS", 0.0, LONGEST_WAIT));
  arguments.end();
  return std::chrono::round<std::chrono::nanoseconds>(wait);
}

std::chrono::nanoseconds later(std::chrono::nanoseconds now, std::chrono::nanoseconds wait) {
  if (now + wait > LONGEST) {
    throw CardCommandError("the waits add up to more than 1000000000 s");
  }
  return now + wait;
}

CardCommand parseChange(const std::string& line) {
  CardCommand command = parseCardCommand(line);
  if (command.tells) {
    throw CardCommandError("what this replies would be lost; accepted are the commands that change the "
                           "card, and wait SECONDS");
  }
  return command;
}

std::string firstWord(const std::string& line) {
  std::istringstream words(line);
  std::string word;
  words >> word;
  return word;
}

} // namespace

std::vector<ScenarioStep> parseScenario(const std::string& text, const std::string& name) {
  std::vector<ScenarioStep> steps;
  std::chrono::nanoseconds now{0};
  std::istringstream lines(text);
  std::string line;
  for (unsigned number = 1; std::getline(lines, line); ++number) {
    const std::string word = firstWord(line);
    try {
      if (word == "wait") {
        now = later(now, parseWait(line));
      } else if (!word.empty() && word.front() != '#') {
        steps.push_back({now, parseChange(line)});
      }
    } catch (const CardCommandError& error) {
      throw CardCommandError(name + ":" + std::to_string(number) + ": " + error.what());
    }
  }
  return steps;
}
