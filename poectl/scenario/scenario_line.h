// The words of one line of a scenario file.
#pragma once

#include <optional>
#include <string>
#include <vector>

struct ScenarioWord {
  std::string text; // without its quotes
  unsigned column;  // from 1, in bytes
  bool quoted;
};

struct ScenarioLine {
  std::vector<ScenarioWord> words;
  unsigned end = 1; // column after the last word

  // What is wrong with the line, when something is; `end` is the place then.
  std::optional<std::string> fault;
};

// Separates the words of a line, up to its comment.
ScenarioLine splitScenarioLine(const std::string& line);
