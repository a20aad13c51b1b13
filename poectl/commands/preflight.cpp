#include "poectl/commands/preflight.h"

#include "components/PoeDriver/poe_messages.h"
#include "poectl/service/console_port.h"
#include "poectl/service/queue.h"
#include "poectl/service/queue_readers.h"

#include <cstdio>

namespace {

// Why a queue is not removed; empty when it may be.
std::string whyKept(const char* name) {
  const QueueReaders readers = readersOf(name);
  if (!readers.found.empty()) {
    return describe(readers.found.front()) + " serves it";
  }
  if (!readers.doubt.empty()) {
    return "it cannot be known whether somebody serves it: " + readers.doubt +
           "; run this as root, or 'poectl clean --force' removes it and cuts off whoever serves it";
  }
  return "";
}

} // namespace

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

int clean(bool force) {
  int status = 0;
  for (const char* name : {QUEUE_TO_POE, QUEUE_TO_MAIN}) {
    const std::string why = force ? "" : whyKept(name);
    if (!why.empty()) {
      std::fprintf(stderr, "left queue %s: %s\n", name, why.c_str());
      status = 1;
    } else if (removeQueue(name)) {
      std::printf("removed queue %s\n", name);
    }
  }
  return status;
}
