#include "poectl/config_commands.h"

#include "poectl/audit_text.h"
#include "poectl/config_check.h"
#include "poectl/config_file.h"
#include "poectl/example_config.h"
#include "poectl/queue.h"

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
  PortStates states{POWERED, POWERED, POWERED, POWERED};
  for (const std::string& words : options.ports) {
    setPortState(words, states);
  }
  const PoeConfig config = readConfig(path);
  const std::uint32_t bankLimit = options.bankLimit.value_or(chipBankLimit(config.bankPowerLimit[0]));
  std::fputs(auditText(config, bankLimit, states).c_str(), stdout);
  return 0;
}
