#include "components/PoeDriver/poe_messages.h"
#include "poectl/commands.h"
#include "poectl/console/console_client.h"
#include "poectl/service/queue.h"
#include "poectl/service/queue_readers.h"

#include <cstdio>

namespace {

int preflight() {
  if (consolePortIsTaken()) {
    std::fprintf(stderr,
                 "port %u on 127.0.0.1 is taken: a service, of which there can be only one, is running "
                 "already, or another program listens there\n",
                 CONSOLE_PORT);
    return 1;
  }
  for (const char* name : {QUEUE_TO_POE, QUEUE_TO_MAIN}) {
    if (queueExists(name)) {
      std::fprintf(stderr, "%s\n", whyQueueExists(name).c_str());
      return 1;
    }
  }
  return 0;
}

} // namespace

Action preflightCommand(CommandSyntax& /*it has no options*/) {
  return preflight;
}
