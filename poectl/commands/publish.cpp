#include "poectl/feed/source_options.h"
#include "poectl/host/note.h"
#include "poectl/publish/publication.h"

#include <memory>

namespace {

// Without a snapshot the age is written this often. It is longer than the time between two status messages,
// so that each of them costs one write.
constexpr std::chrono::milliseconds AGE_STEP{2000};

struct PublishOptions {
  SourceOptions source;
  std::string directory;
};

int publish(const PublishOptions& options) {
  if (options.directory.empty()) {
    throw UsageError("--directory is missing; the name of a directory is accepted");
  }
  Publication publication(options.directory, Publication::Clock::now(),
                          printNote); // before the feed: it may be refused
  const auto feed = openFeed(options.source, false, printNote);
  printNote("publishes into " + options.directory + " from the " + feed->origin());
  for (;;) {
    const SnapshotFeed::Event event = feed->next(AGE_STEP).event;
    const Publication::Clock::time_point now = Publication::Clock::now();
    switch (event) {
    case SnapshotFeed::Event::SNAPSHOT:
      publication.take(*feed->last(), now);
      break;
    case SnapshotFeed::Event::TIME_UP:
      publication.refresh(now);
      break;
    case SnapshotFeed::Event::INTERRUPTED:
      publication.end(now);
      return publication.isWritten() ? 0 : 1;
    }
  }
}

} // namespace

Action publishCommand(CommandSyntax& syntax) {
  const auto options = std::make_shared<PublishOptions>();
  syntax.text("--directory", options->directory);
  placeSourceOptions(syntax, options->source);
  return [options] { return publish(*options); };
}
