#include "poectl/status/snapshot.h"

const char* sourceWord(Snapshot::Source source) {
  return source == Snapshot::Source::QUEUE ? "queue" : "console";
}
