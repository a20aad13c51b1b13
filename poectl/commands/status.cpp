#include "poectl/config/port_names.h"
#include "poectl/feed/queue_feed.h"
#include "poectl/feed/source_options.h"
#include "poectl/host/note.h"
#include "poectl/status/status_export.h"
#include "poectl/status/status_text.h"

#include <chrono>
#include <cstdio>

namespace {

constexpr std::chrono::milliseconds MESSAGE_LIMIT{3000}; // the service reports once a second

struct StatusOptions {
  SourceOptions source;
  bool json = false;
  bool prometheus = false;
};

void print(const Snapshot& snapshot, const StatusOptions& options) {
  const std::string text = options.json                ? snapshotJson(snapshot)
                           : options.prometheus        ? snapshotPrometheus(snapshot)
                           : options.source.every != 0 ? snapshotBlock(snapshot)
                                                       : snapshotText(snapshot);
  std::fputs(text.c_str(), stdout);
}

void noteTransfers(const SourceOptions& source, const char* what) {
  if (!source.noBus) {
    printNote(transferNote(what, SNAPSHOT_TRANSFERS));
  }
}

int printMessage(const StatusOptions& options, const PortNames& names) {
  StatusReceiver receiver([](const std::string& /*a message of another kind is no status*/) {});
  PoeStatus status{};
  if (receiver.next(MESSAGE_LIMIT, status) != StatusReceiver::Event::MESSAGE) {
    printNote(noMessageCame());
    return 1;
  }
  Snapshot snapshot = snapshotOfMessage(1, status);
  snapshot.names = names;
  print(snapshot, options);
  return 0;
}

// One after the other, until a signal ends it.
int printAgainAndAgain(const StatusOptions& options) {
  noteTransfers(options.source, "each snapshot");
  const auto feed = openFeed(options.source, false, printNote);
  for (;;) {
    switch (feed->next(feed->period()).event) {
    case SnapshotFeed::Event::SNAPSHOT:
      print(*feed->last(), options);
      std::fflush(stdout);
      break;
    case SnapshotFeed::Event::INTERRUPTED:
      return 0;
    case SnapshotFeed::Event::TIME_UP:
      break;
    }
  }
}

int printStatus(const StatusOptions& options) {
  if (options.source.every != 0) {
    return printAgainAndAgain(options);
  }
  const PortNames names = portNames(options.source.file);
  if (chooseSource(options.source, printNote) == Snapshot::Source::QUEUE) {
    return printMessage(options, names);
  }
  noteTransfers(options.source, "a snapshot");
  Snapshot snapshot = takeSnapshot(options.source.reports());
  snapshot.number = 1;
  snapshot.names = names;
  print(snapshot, options);
  return 0;
}

} // namespace

Action statusCommand(CommandSyntax& syntax) {
  const auto options = std::make_shared<StatusOptions>();
  placeSourceOptions(syntax, options->source);
  syntax.flag("--json", options->json);
  syntax.flag("--prometheus", options->prometheus);
  syntax.exclude("--json", "--prometheus");
  return [options] { return printStatus(*options); };
}
