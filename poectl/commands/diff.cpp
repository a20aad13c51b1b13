#include "poectl/command_line.h"
#include "poectl/console/ask_settings.h"
#include "poectl/console/console_client.h"
#include "poectl/host/note.h"

#include <cstdio>
#include <memory>

namespace {

constexpr int SAME = 0;
constexpr int DIFFERENT = 1;
constexpr int TROUBLE = 2; // not 1, which would say that there are differences

int diff(const std::string& path) {
  const ConfigFile file = readConfigFile(path);
  printNote(transferNote("the service's settings", SETTINGS_TRANSFERS) + "; limits are compared in whole W");
  try {
    const std::string text = differences(file, askServiceSettings());
    std::fputs(text.empty() ? "same\n" : text.c_str(), stdout);
    return text.empty() ? SAME : DIFFERENT;
  } catch (const ConsoleError& error) {
    printNote(error.what());
    return TROUBLE;
  }
}

} // namespace

Action diffCommand(CommandSyntax& syntax) {
  const auto file = std::make_shared<std::string>();
  syntax.file(*file);
  return [file] { return diff(*file); };
}
