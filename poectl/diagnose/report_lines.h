// A report of the service's console, line by line: "  dev_error               = FALSE".
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

// A plain value; a report that was not asked for has no lines.
class ReportLines {
public:
  ReportLines() = default;
  // `command` is the report's name, such as "channel 1"; `reply` what the console printed.
  ReportLines(std::string command, const std::string& reply);

  const std::string& command() const { return m_command; }
  const std::string& reply() const { return m_reply; }
  bool empty() const { return m_values.empty(); }
  bool has(const std::string& label) const { return m_values.count(label) != 0; }
  bool is(const std::string& label, const std::string& value) const;
  bool isTrue(const std::string& label) const { return is(label, "TRUE"); }

  // What follows the label. Empty when there is no such line.
  std::string text(const std::string& label) const;
  std::optional<std::uint32_t> number(const std::string& label) const;
  // A value with one digit after the point, in tenths: 540 of "54.0".
  std::optional<std::uint32_t> tenths(const std::string& label) const;

  // The line as evidence: "device: dev_error = TRUE".
  std::string quote(const std::string& label) const;

private:
  std::string m_command;
  std::string m_reply;
  std::map<std::string, std::string> m_values;
};
