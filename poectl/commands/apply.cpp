#include "poectl/commands/apply.h"

#include "poectl/command_line.h"
#include "poectl/config/config_file.h"
#include "poectl/host/note.h"
#include "poectl/service/queue_readers.h"

#include <memory>

void applyConfig(const PoeConfig& config, const SendWait& wait) {
  if (queueExists(QUEUE_TO_POE)) {
    const QueueReaders readers = readersOf(QUEUE_TO_POE);
    if (readers.found.empty() && readers.doubt.empty()) {
      throw QueueError(whyQueueExists(QUEUE_TO_POE));
    }
  }
  sendConfig(config, wait);
}

bool printMainProcessNote() {
  const std::string note = mainProcessNote();
  if (!note.empty()) {
    printNote(note + "; it may come within about 1 s: change the setting there");
  }
  return !note.empty();
}

std::string mainProcess() {
  const QueueReaders readers = readersOf(QUEUE_TO_MAIN);
  return readers.found.empty() ? "the main process"
                               : "the main process, " + describe(readers.found.front()) + ",";
}

Action applyCommand(CommandSyntax& syntax) {
  const auto file = std::make_shared<std::string>();
  syntax.file(*file);
  return [file] {
    applyConfig(readConfig(*file));
    printMainProcessNote();
    return 0;
  };
}
