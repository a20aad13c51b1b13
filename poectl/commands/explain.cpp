#include "components/PoeDriver/power_limits.h"
#include "poectl/command_line.h"
#include "poectl/config/audit_text.h"
#include "poectl/config/config_file.h"
#include "poectl/console/audit_input.h"
#include "poectl/host/note.h"

#include <cstdio>
#include <memory>

namespace {

constexpr unsigned long MAX_REGISTER_W = 255; // what the chip's register of a bank limit holds

struct ExplainOptions {
  std::string file;
  bool status = false;                    // starts from the running service's bank limit and port states
  std::optional<unsigned long> bankLimit; // W; instead of that of bank 0 or of the running service
  std::vector<std::string> ports;         // states that differ from detected good and powered, or from those
};

void setPortStates(const std::vector<std::string>& all, PortPowerStates& ports) {
  for (const std::string& words : all) {
    setPortState(words, ports);
  }
}

int explain(const ExplainOptions& options) {
  constexpr PortPowerState POWERED{DetectionStatus::GOOD, true};
  PortPowerStates ports{POWERED, POWERED, POWERED, POWERED};
  setPortStates(options.ports, ports); // wrong words are refused before anything is read
  const ConfigFile file = readConfigFile(options.file);
  AuditInput input{effectiveBankLimitW(file.config.bankPowerLimit[0]), ports};
  if (options.status) {
    printNote(transferNote("the bank limit", AUDIT_TRANSFERS));
    input = askAuditInput();
    setPortStates(options.ports, input.ports);
  }
  const auto bankLimit = static_cast<std::uint32_t>(options.bankLimit.value_or(input.bankLimit));
  std::fputs(auditText(file.config, bankLimit, input.ports, file.names).c_str(), stdout);
  return 0;
}

} // namespace

Action explainCommand(CommandSyntax& syntax) {
  const auto options = std::make_shared<ExplainOptions>();
  syntax.file(options->file);
  syntax.flag("--status", options->status);
  syntax.number("--bank-limit", options->bankLimit, 0, MAX_REGISTER_W);
  syntax.texts("--port", options->ports);
  return [options] { return explain(*options); };
}
