#include "poectl/feed/source_options.h"

#include "components/PoeDriver/poe_messages.h"
#include "poectl/config/port_names.h"
#include "poectl/feed/console_feed.h"
#include "poectl/feed/queue_feed.h"
#include "poectl/service/queue.h"
#include "poectl/service/queue_readers.h"
#include "text/text.h"

#include <utility>

namespace {

constexpr std::chrono::milliseconds DEFAULT_PERIOD{10000}; // a failing transfer costs every port its power
constexpr std::chrono::milliseconds MAX_PERIOD = std::chrono::hours(24 * 365);

std::chrono::milliseconds periodOf(const SourceOptions& options) {
  if (options.every == 0) {
    return DEFAULT_PERIOD;
  }
  const std::chrono::duration<double> every(options.every);
  return every < MAX_PERIOD ? std::chrono::ceil<std::chrono::milliseconds>(every) : MAX_PERIOD;
}

bool needsConsole(const SourceOptions& options) {
  return options.every != 0 || options.noBus;
}

bool isServed(const char* queue) {
  const QueueReaders readers = readersOf(queue);
  return !readers.found.empty() || !readers.doubt.empty();
}

} // namespace

Snapshot::Source chooseSource(const SourceOptions& options, const SnapshotFeed::Warn& warn) {
  if (!options.from.empty() && options.from != "queue" && options.from != "console") {
    throw UsageError("--from: there is no source " + text::quoted(options.from) +
                     "; queue and console are accepted");
  }
  if (options.from == "queue" && needsConsole(options)) {
    throw UsageError(std::string(options.noBus ? "--no-bus" : "--every") +
                     " is for snapshots from the console; --from queue excludes it");
  }
  if (options.from == "queue") {
    return Snapshot::Source::QUEUE;
  }
  if (needsConsole(options) || options.from == "console" || isServed(QUEUE_TO_MAIN)) {
    return Snapshot::Source::CONSOLE;
  }
  if (!queueExists(QUEUE_TO_MAIN)) {
    return Snapshot::Source::QUEUE;
  }
  warn(whyQueueExists(QUEUE_TO_MAIN) + "; the console is asked instead");
  return Snapshot::Source::CONSOLE;
}

std::unique_ptr<SnapshotFeed> openFeed(const SourceOptions& options, bool sendExample,
                                       SnapshotFeed::Warn warn) {
  const PortNames names = portNames(options.file); // a wrong file is refused before anything is taken
  SourceOptions wanted = options;
  if (sendExample && options.from.empty() && !needsConsole(options) && !isServed(QUEUE_TO_MAIN)) {
    wanted.from = "queue"; // which a left-over queue refuses
  }
  std::unique_ptr<SnapshotFeed> feed;
  if (chooseSource(wanted, warn) == Snapshot::Source::QUEUE) {
    feed = std::make_unique<QueueFeed>(sendExample, std::move(warn));
  } else if (sendExample) {
    throw UsageError(std::string("--example is for snapshots from the queue: ") + ConsoleFeed::SENDS_NOTHING);
  } else {
    feed = std::make_unique<ConsoleFeed>(options.reports(), periodOf(options), std::move(warn));
  }
  feed->setNames(names);
  return feed;
}
