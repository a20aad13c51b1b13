#include "poectl/config_commands.h"

#include "poectl/audit_text.h"
#include "poectl/config_check.h"
#include "poectl/config_file.h"
#include "poectl/example_config.h"
#include "poectl/queue.h"
#include "poectl/running_ports.h"

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

int explainFile(const std::string& path, const ExplainOptions& options) {
  constexpr PortState POWERED{4, true}; // 4: detected good
  const PoeConfig config = readConfig(path);
  AuditInput input{chipBankLimit(config.bankPowerLimit[0]), {POWERED, POWERED, POWERED, POWERED}};
  if (options.status) {
    input = askAuditInput();
  }
  for (const std::string& words : options.ports) {
    setPortState(words, input.ports);
  }
  std::fputs(auditText(config, options.bankLimit.value_or(input.bankLimit), input.ports).c_str(), stdout);
  return 0;
}
