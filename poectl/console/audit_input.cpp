#include "poectl/console/audit_input.h"

#include "poectl/console/console_client.h"
#include "poectl/console/console_vocabulary.h"
#include "poectl/status/status_text.h"
#include "text/number.h"

#include <algorithm>
#include <cctype>
#include <optional>

namespace {

// What a report shows after a label, up to the end of the line.
std::string shown(const std::string& report, const std::string& label) {
  const std::size_t start = report.find(label);
  if (start == std::string::npos) {
    const std::string first = report.substr(0, report.find('\n'));
    throw ConsoleError("the console does not show '" + label + "' but '" + first + "'");
  }
  const std::size_t value = start + label.size();
  return report.substr(value, report.find('\n', value) - value);
}

std::string lowerCase(std::string word) {
  std::transform(word.begin(), word.end(), word.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
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
  const std::optional<std::uint32_t> watts = text::numberFrom<std::uint32_t>(value);
  if (!watts) {
    refuse(label, value);
  }
  return *watts;
}

PortPowerState portStateFrom(const std::string& channel) {
  const std::string detectionLabel = "det_status              = ";
  const std::string detection = shown(channel, detectionLabel);
  const std::optional<std::uint32_t> code = detectionOf(lowerCase(detection));
  if (!code) {
    refuse(detectionLabel, detection);
  }
  const std::string enableLabel = "enable                  = ";
  const std::string enable = shown(channel, enableLabel);
  if (enable != "TRUE" && enable != "FALSE") {
    refuse(enableLabel, enable);
  }
  return {*code, enable == "TRUE"};
}
