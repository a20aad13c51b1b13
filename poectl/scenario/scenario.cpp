#include "poectl/scenario/scenario.h"

#include "poectl/config/config_file.h"
#include "poectl/scenario/scenario_step.h"

#include <filesystem>
#include <sstream>

namespace {

// The line as it is shown: its words, the quoted ones in quotes.
std::string lineText(const ScenarioLine& line) {
  std::string text;
  for (const ScenarioWord& word : line.words) {
    text += text.empty() ? "" : " ";
    text += word.quoted ? '"' + word.text + '"' : word.text;
  }
  return text;
}

} // namespace

Scenario parseScenario(const std::string& text, const std::string& name,
                       const ConfigReader& readConfiguration) {
  Scenario scenario;
  std::istringstream lines(text);
  unsigned number = 0;
  for (std::string raw; std::getline(lines, raw);) {
    number++;
    const std::string place = name + ":" + std::to_string(number);
    const ScenarioLine line = splitScenarioLine(raw);
    if (line.fault) {
      throw ScenarioError(place + ":" + std::to_string(line.end) + ": " + *line.fault +
                          "; words separated by blanks are accepted, and texts between two quotes");
    }
    if (line.words.empty()) {
      continue;
    }
    scenario.push_back({number, lineText(line), readStep(line, place, readConfiguration, scenario)});
  }
  if (scenario.empty()) {
    throw ScenarioError(name + ":1:1: the file has no step; " + ACCEPTED_STEPS);
  }
  return scenario;
}

Scenario readScenario(const std::string& path) {
  const std::filesystem::path folder = path == "-" ? "" : std::filesystem::path(path).parent_path();
  return parseScenario(readInput(path), inputName(path),
                       [&](const std::string& file) { return readConfig((folder / file).string()); });
}
