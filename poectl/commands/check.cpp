#include "poectl/command_line.h"
#include "poectl/config/config_check.h"
#include "poectl/config/config_file.h"

#include <cstdio>
#include <memory>

Action checkCommand(CommandSyntax& syntax) {
  const auto file = std::make_shared<std::string>();
  syntax.file(*file);
  return [file] {
    const ConfigFile config = readConfigFile(*file);
    std::fputs(configText(config.config, config.names).c_str(), stdout);
    return 0;
  };
}
