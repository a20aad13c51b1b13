// A report of the service's console as it was seen: what it says, and its lines as evidence.
#pragma once

#include "poectl/console/console_client.h"
#include "poectl/console/console_report.h"

#include <optional>
#include <string>
#include <string_view>

// A plain value; without a reply the report was not asked for.
template <typename Report>
struct SeenReport {
  // Whether the report is understood and has this value.
  template <typename Value, typename Wanted>
  bool is(const ReportLine<Report, Value>& field, const Wanted& wanted) const {
    return values && (*values).*field.value == wanted;
  }

  // Throws ConsoleError when the report is not understood.
  const Report& understood() const {
    if (!values) {
      throw ConsoleError(problem);
    }
    return *values;
  }

  // The value as the reply shows it. Empty when there is no such line.
  std::string text(std::string_view label) const { return shownValue(reply, label); }

  // "dev_error = TRUE"
  std::string line(std::string_view label) const { return std::string(label) + " = " + text(label); }

  // The line as evidence: "device: dev_error = TRUE".
  std::string quote(std::string_view label) const { return command + ": " + line(label); }

  std::string command; // "channel 1"
  std::string reply;
  std::optional<Report> values; // nothing when the reply is not understood
  std::string problem;          // why not, one line
};

// `parse` is one of the parsers of console_report.h; those of a port also take the port.
template <typename Report, typename... Port>
SeenReport<Report> seenReport(const std::string& command, const std::string& reply,
                              Report (*parse)(const std::string&, Port...), Port... port) {
  SeenReport<Report> seen{command, reply, std::nullopt, ""};
  try {
    seen.values = parse(reply, port...);
  } catch (const ConsoleError& error) {
    seen.problem = error.what();
  }
  return seen;
}
