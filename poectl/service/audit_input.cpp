#include "poectl/service/audit_input.h"

#include "poectl/service/console_client.h"
#include "poectl/service/console_vocabulary.h"
#include "poectl/status/status_text.h"

#include <algorithm>
#include <cctype>
#include <charconv>

namespace {

constexpr std::uint32_t DETECTION_CODES = 8;

// What a report shows behind a label, up to the end of the line.
std::string shown(const std::string& report, const std::string& label) {
  const std::size_t start = report.find(label);
  if (start == std::string::npos) {
    const std::string first = report.substr(0, report.find('\n'));
    throw ConsoleError("the console does not show '" + label + "' but '" + first + "'");
  }
  const std::size_t value = start + label.size();
  return report.substr(value, report.find('\n', value) - value);
}

std::string upperCase(std::string word) {
  std::transform(word.begin(), word.end(), word.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::toupper(letter)); });
  return word;
}

[[noreturn]] void refuse(const std::string& label, const std::string& value) {
  throw ConsoleError("the console shows '" + label + value + "', which is not understood");
}

} // namespace

AuditInput askAuditInput() {
  AuditInput input{bankLimitFrom(askConsole(consoleLine("info"))), {}};
  for (std::size_t port = 0; port < input.ports.size(); port++) {
    input.ports[port] = portStateFrom(askConsole(consoleLine("channel " + std::to_string(port))));
  }
  return input;
}

std::uint32_t bankLimitFrom(const std::string& info) {
  const std::string label = "power_limit (this bank) = ";
  const std::string value = shown(info, label);
  std::uint32_t watts = 0;
  const auto [stop, error] = std::from_chars(value.data(), value.data() + value.size(), watts);
  if (error != std::errc() || stop != value.data() + value.size()) {
    refuse(label, value);
  }
  return watts;
}

PortState portStateFrom(const std::string& channel) {
  const std::string detectionLabel = "det_status              = ";
  const std::string detection = shown(channel, detectionLabel);
  std::uint32_t code = 0;
  while (code < DETECTION_CODES && upperCase(detectionWord(code)) != detection) {
    code++;
  }
  if (code == DETECTION_CODES) {
    refuse(detectionLabel, detection);
  }
  const std::string enableLabel = "enable                  = ";
  const std::string enable = shown(channel, enableLabel);
  if (enable != "TRUE" && enable != "FALSE") {
    refuse(enableLabel, enable);
  }
  return {code, enable == "TRUE"};
}
