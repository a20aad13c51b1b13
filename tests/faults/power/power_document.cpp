#include "tests/faults/power/power_document.h"

#include "tests/faults/power/power_table.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <system_error>

namespace {

constexpr const char* BEGIN = "<!-- poe_power_table -->";
constexpr const char* END = "<!-- end of poe_power_table -->";
constexpr const char* REASONS = "| What happens | Why";

std::string contentsOf(const std::string& file) {
  std::ifstream in(file);
  std::ostringstream text;
  text << in.rdbuf();
  if (!in || text.str().empty()) {
    throw std::runtime_error("cannot read " + file + "; accepted is a document with the line " + BEGIN);
  }
  return text.str();
}

// Where the table stands in the document.
struct Place {
  std::size_t begin;
  std::size_t length;
};

Place placeOf(const std::string& document, const std::string& file) {
  const std::size_t begin = document.find(BEGIN);
  const std::size_t end = document.find(END, begin);
  if (begin == std::string::npos || end == std::string::npos) {
    throw std::runtime_error(file + " has no place for the table; accepted is a document with the line " +
                             BEGIN);
  }
  const std::size_t table = begin + std::string(BEGIN).size() + 1; // after its line
  return {table, end - table};
}

std::vector<std::string> linesOfText(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) {
    lines.push_back(line);
  }
  return lines;
}

// What only one of them has, as a comparison shows it.
std::string differenceOf(const std::string& shown, const std::string& tried) {
  const std::vector<std::string> before = linesOfText(shown);
  const std::vector<std::string> now = linesOfText(tried);
  std::string text;
  for (const std::string& line : before) {
    text += std::count(now.begin(), now.end(), line) == 0 ? "- " + line + "\n" : "";
  }
  for (const std::string& line : now) {
    text += std::count(before.begin(), before.end(), line) == 0 ? "+ " + line + "\n" : "";
  }
  return text.empty() ? "the rows stand in another order\n" : text;
}

// The first cells of the table that tells why.
std::vector<std::string> explainedEvents(const std::string& document) {
  std::vector<std::string> events;
  std::istringstream in(document.substr(std::min(document.find(REASONS), document.size())));
  std::string line;
  std::getline(in, line); // the heading
  std::getline(in, line); // its rule
  while (std::getline(in, line) && line.compare(0, 2, "| ") == 0) {
    events.push_back(line.substr(2, line.find(" |") - 2));
  }
  return events;
}

} // namespace

void writeTable(const std::string& file, const std::string& table) {
  std::string document = contentsOf(file);
  const Place place = placeOf(document, file);
  document.replace(place.begin, place.length, table);
  std::ofstream out(file);
  out << document;
  if (!out.flush()) {
    throw std::runtime_error("cannot write " + file + ": " + std::generic_category().message(errno));
  }
}

std::string checkDocument(const std::string& file, const std::vector<TriedEvent>& events) {
  const std::string document = contentsOf(file);
  const Place place = placeOf(document, file);
  const std::string shown = document.substr(place.begin, place.length);
  const std::string tried = tableOf(events);
  std::string difference;
  if (shown != tried) {
    difference = "the table of " + file + " (-) is not what the service does (+); poe_power_table --write " +
                 file + " renews it:\n" + differenceOf(shown, tried);
  }
  std::vector<std::string> names;
  for (const TriedEvent& event : events) {
    names.push_back(event.name);
  }
  if (explainedEvents(document) != names) {
    difference += "the table of reasons in " + file + " has not the same events in the same order\n";
  }
  return difference;
}
