#include "poectl/commands.h"
#include "poectl/config/example_config.h"

#include <cstdio>

Action exampleCommand(CommandSyntax& /*it has no options*/) {
  return [] {
    std::fputs(EXAMPLE_FILE, stdout);
    return 0;
  };
}
