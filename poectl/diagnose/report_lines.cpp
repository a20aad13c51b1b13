#include "poectl/diagnose/report_lines.h"

#include "text/number.h"

#include <algorithm>
#include <sstream>
#include <utility>

namespace {

std::string trimmed(const std::string& text) {
  const std::size_t start = text.find_first_not_of(" \t\r");
  return start == std::string::npos ? "" : text.substr(start, text.find_last_not_of(" \t\r") + 1 - start);
}

} // namespace

ReportLines::ReportLines(std::string command, const std::string& reply)
    : m_command(std::move(command)), m_reply(reply) {
  std::istringstream lines(reply);
  for (std::string line; std::getline(lines, line);) {
    const std::size_t sign = std::min(line.find(" = "), line.find(" : ")); // "info" has both forms
    if (sign != std::string::npos) {
      m_values[trimmed(line.substr(0, sign))] = trimmed(line.substr(sign + 3));
    }
  }
}

bool ReportLines::is(const std::string& label, const std::string& value) const {
  const auto found = m_values.find(label);
  return found != m_values.end() && found->second == value;
}

std::string ReportLines::text(const std::string& label) const {
  const auto found = m_values.find(label);
  return found == m_values.end() ? "" : found->second;
}

std::optional<std::uint32_t> ReportLines::number(const std::string& label) const {
  return text::numberFrom<std::uint32_t>(text(label));
}

std::optional<std::uint32_t> ReportLines::tenths(const std::string& label) const {
  std::string digits = text(label);
  if (digits.size() < 3 || digits[digits.size() - 2] != '.') {
    return std::nullopt;
  }
  digits.erase(digits.size() - 2, 1);
  return text::numberFrom<std::uint32_t>(digits);
}

std::string ReportLines::quote(const std::string& label) const {
  return m_command + ": " + label + " = " + text(label);
}
