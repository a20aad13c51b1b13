#include "poectl/config/config_edit.h"

#include "text/utf8.h"

#include <cstring>

namespace {

// Where a line of the text begins; its end when there are fewer lines.
std::size_t startOfLine(const std::string& text, unsigned line) {
  std::size_t start = 0;
  for (; line > 1 && start < text.size(); line--) {
    start = std::min(text.find('\n', start), text.size() - 1) + 1;
  }
  return start;
}

// Where the character of a column begins.
std::size_t placeOf(const std::string& text, unsigned line, unsigned column) {
  constexpr char BYTE_ORDER_MARK[] = "\xEF\xBB\xBF"; // not counted as a column
  std::size_t place = startOfLine(text, line);
  place += line == 1 && text.rfind(BYTE_ORDER_MARK, 0) == 0 ? std::strlen(BYTE_ORDER_MARK) : 0;
  for (; column > 1 && place < text.size(); column--) {
    place += std::max<std::size_t>(text::utf8At(text, place).bytes, 1);
  }
  return place;
}

std::string lineOf(const std::string& text, unsigned line) {
  const std::size_t start = startOfLine(text, line);
  std::string found = text.substr(start, text.find('\n', start) - start);
  if (!found.empty() && found.back() == '\r') {
    found.pop_back();
  }
  return found;
}

std::uint32_t& valueOf(PoePortConfig& port, ValuePlace PortPlaces::*place) {
  return place == &PortPlaces::priority ? port.priority : port.powerLimit;
}

// False when the record has that value already.
bool setValue(PoePortConfig& port, const PortChange& change) {
  if (change.place == &PortPlaces::enable) {
    const bool differs = port.adminEnable != change.value;
    port.adminEnable = static_cast<std::uint8_t>(change.value);
    return differs;
  }
  std::uint32_t& value = valueOf(port, change.place);
  const bool differs = value != change.value;
  value = change.value;
  return differs;
}

std::string written(const PortChange& change) {
  if (change.place == &PortPlaces::enable) {
    return change.value != 0 ? "true" : "false";
  }
  return std::to_string(change.value);
}

bool isSame(const ConfigFile& a, const ConfigFile& b) {
  return std::memcmp(&a.config, &b.config, sizeof a.config) == 0 && a.names == b.names;
}

} // namespace

ConfigEdit editConfig(const std::string& text, const std::string& name, const PortChange& change) {
  ConfigFile wanted = parseConfigFile(text, name);
  const ValuePlace place = wanted.places[change.port].*change.place;
  const std::string oldLine = lineOf(text, place.line);
  if (!setValue(wanted.config.port[change.port], change)) {
    return {text, wanted, place.line, oldLine, oldLine};
  }
  std::string edited = text;
  const std::size_t begin = placeOf(text, place.line, place.begin);
  const std::size_t end = placeOf(text, place.line, place.end);
  edited.replace(begin, end - begin, written(change));
  const ConfigFile changed = parseConfigFile(edited, name);
  if (!isSame(changed, wanted)) {
    throw ConfigError(name + ":" + std::to_string(place.line) +
                      ": the value cannot be replaced in this form; a line such as 'limit = 15000' below the "
                      "heading [port.0] is accepted");
  }
  return {edited, changed, place.line, oldLine, lineOf(edited, place.line)};
}
