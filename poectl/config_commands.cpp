#include "poectl/config_commands.h"

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
