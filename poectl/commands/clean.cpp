#include "components/PoeDriver/poe_messages.h"
#include "poectl/command_line.h"
#include "poectl/service/queue.h"
#include "poectl/service/queue_readers.h"

#include <cstdio>
#include <memory>

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

} // namespace

Action cleanCommand(CommandSyntax& syntax) {
  const auto force = std::make_shared<bool>(false);
  syntax.flag("--force", *force);
  return [force] { return clean(*force); };
}
