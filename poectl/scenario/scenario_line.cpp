#include "poectl/scenario/scenario_line.h"

#include <algorithm>

namespace {

bool isBlank(char character) {
  return character == ' ' || character == '\t';
}

bool isControl(char character) {
  return (static_cast<unsigned char>(character) < ' ' && character != '\t') || character == '\x7f';
}

unsigned columnOf(std::size_t place) {
  return static_cast<unsigned>(place) + 1;
}

std::string wordFault(const std::string& line, std::size_t end) {
  return line[end] == '"' ? "a quote inside a word" : "a word after a quote without a blank";
}

} // namespace

ScenarioLine splitScenarioLine(const std::string& line) {
  ScenarioLine result;
  const auto fail = [&](std::size_t place, const std::string& fault) {
    result.fault = fault;
    result.end = columnOf(place);
    return result;
  };
  for (std::size_t place = 0; place < line.size(); place++) {
    if (isControl(line[place])) {
      return fail(place, "a control character");
    }
  }
  std::size_t start = line.find_first_not_of(" \t");
  while (start != std::string::npos && line[start] != '#') {
    const bool quoted = line[start] == '"';
    const std::size_t first = quoted ? start + 1 : start;
    const std::size_t end = std::min(line.find_first_of(quoted ? "\"" : " \t\"", first), line.size());
    if (quoted && end == line.size()) {
      return fail(start, "a quote that does not end");
    }
    const std::size_t next = quoted ? end + 1 : end;
    if (next < line.size() && !isBlank(line[next])) {
      return fail(next, wordFault(line, next));
    }
    result.words.push_back({line.substr(first, end - first), columnOf(start), quoted});
    result.end = columnOf(next);
    start = line.find_first_not_of(" \t", next);
  }
  return result;
}
