#include "poectl/commands/config_commands.h"

#include "components/PoeDriver/power_limits.h"
#include "poectl/config/audit_text.h"
#include "poectl/config/config_check.h"
#include "poectl/config/config_file.h"
#include "poectl/config/example_config.h"
#include "poectl/service/audit_input.h"
#include "poectl/service/queue.h"

#include <cstdio>

int printExample() {
  std::fputs(EXAMPLE_FILE, stdout);
  return 0;
}

int checkFile(const std::string& path) {
  std::fputs(configText(readConfig(path)).c_str(), stdout);
  return 0;
}

int applyFile(const std::string& path) {
  const PoeConfigMessage message{MSGID_CONFIG, readConfig(path)};
  sendToService(&message, sizeof message);
  return 0;
}

static void setPortStates(const std::vector<std::string>& all, PortPowerStates& ports) {
  for (const std::string& words : all) {
    setPortState(words, ports);
  }
}

int explainFile(const std::string& path, const ExplainOptions& options) {
  constexpr PortPowerState POWERED{DetectionStatus::GOOD, true};
  PortPowerStates ports{POWERED, POWERED, POWERED, POWERED};
  setPortStates(options.ports, ports); // wrong words are refused before anything is read
  const PoeConfig config = readConfig(path);
  AuditInput input{effectiveBankLimitW(config.bankPowerLimit[0]), ports};
  if (options.status) {
    input = askAuditInput();
    setPortStates(options.ports, input.ports);
  }
  std::fputs(auditText(config, options.bankLimit.value_or(input.bankLimit), input.ports).c_str(), stdout);
  return 0;
}
