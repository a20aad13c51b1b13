#include "poectl/command_line.h"
#include "poectl/console/ask_settings.h"
#include "poectl/console/console_client.h"

#include <cstdio>
#include <memory>

namespace {

constexpr int SAME = 0;
constexpr int DIFFERENT = 1;
constexpr int TROUBLE = 2; // not 1, which would say that there are differences

int diff(const std::string& path) {
  const ConfigFile file = readConfigFile(path);
  std::printf(
      "reads the service's settings with %u transfers on the chip's bus; limits are compared in whole W\n",
      SETTINGS_TRANSFERS);
  std::fflush(stdout);
  try {
    const std::string text = differences(file, askServiceSettings());
    std::fputs(text.empty() ? "same\n" : text.c_str(), stdout);
    return text.empty() ? SAME : DIFFERENT;
  } catch (const ConsoleError& error) {
    std::fprintf(stderr, "poectl: %s\n", error.what());
    return TROUBLE;
  }
}

} // namespace

Action diffCommand(CommandSyntax& syntax) {
  const auto file = std::make_shared<std::string>();
  syntax.file(*file);
  return [file] { return diff(*file); };
}
