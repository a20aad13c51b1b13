#include "poectl/console/port_settings.h"

#include "text/number.h"

#include <sstream>
#include <utility>

namespace {

// The value after "  label     = " in a report. Empty when there is no such line.
std::string valueOf(const std::string& report, const std::string& label) {
  std::istringstream lines(report);
  for (std::string line; std::getline(lines, line);) {
    const std::size_t equals = line.find("= ");
    if (equals != std::string::npos && line.compare(0, label.size() + 3, "  " + label + " ") == 0) {
      return line.substr(equals + 2);
    }
  }
  return "";
}

std::optional<std::uint32_t> numberOf(const std::string& report, const std::string& label) {
  return text::numberFrom<std::uint32_t>(valueOf(report, label));
}

} // namespace

PortSettings settingsOf(const PoePortConfig& config) {
  return {config.adminEnable != 0, effectivePortLimitMw(config.powerLimit) / 1000, config.priority};
}

std::optional<PortSettings> parsePortSettings(const std::string& reply) {
  const std::string enabled = valueOf(reply, "admin enable");
  const auto limit = numberOf(reply, "port power limit (W)");
  const auto priority = numberOf(reply, "priority");
  if (enabled.empty() || !limit || !priority) {
    return std::nullopt;
  }
  return PortSettings{enabled == "TRUE", *limit, *priority + 1}; // the report has the chip's field, from 0
}

std::string parseChannelFaults(const std::string& reply) {
  constexpr std::pair<const char*, const char*> FAULTS[] = {
      {"fet_error", "FET error"}, {"mosfet_overtemperature", "hot MOSFET"}, {"det_fail", "detection failed"}};
  std::string faults;
  for (const auto& [label, words] : FAULTS) {
    if (valueOf(reply, label) == "TRUE") {
      faults += (faults.empty() ? "" : ", ") + std::string(words);
    }
  }
  return faults;
}
