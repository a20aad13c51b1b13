#include "poectl/command_line.h"
#include "poectl/config/config_file.h"
#include "poectl/service/queue.h"

#include <memory>

Action applyCommand(CommandSyntax& syntax) {
  const auto file = std::make_shared<std::string>();
  syntax.file(*file);
  return [file] {
    const PoeConfigMessage message{MSGID_CONFIG, readConfig(*file)};
    sendToService(&message, sizeof message);
    return 0;
  };
}
