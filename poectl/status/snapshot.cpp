#include "poectl/status/snapshot.h"

const char* sourceWord(Snapshot::Source source) {
  return source == Snapshot::Source::QUEUE ? "queue" : "console";
}

std::optional<Snapshot::Source> sourceOf(const std::string& word) {
  for (const auto source : {Snapshot::Source::QUEUE, Snapshot::Source::CONSOLE}) {
    if (word == sourceWord(source)) {
      return source;
    }
  }
  return {};
}
