#include "poectl/command_line.h"
#include "poectl/console/ask_settings.h"
#include "poectl/console/console_client.h"
#include "poectl/host/note.h"
#include "poectl/status/timestamp.h"

#include <cstdio>
#include <memory>

namespace {

int save(const std::string& file) {
  const PortNames names = portNames(file);
  printNote(transferNote("the service's settings", SETTINGS_TRANSFERS));
  const ServiceSettings settings = askServiceSettings();
  try {
    std::fputs(configFileOf(settings, names, isoTime(currentTime())).c_str(), stdout);
  } catch (const ConfigError& error) { // it is the service's fault, not that of the command line
    throw ConsoleError(error.what());
  }
  return 0;
}

} // namespace

Action saveCommand(CommandSyntax& syntax) {
  const auto file = std::make_shared<std::string>();
  syntax.text("--file", *file);
  return [file] { return save(*file); };
}
