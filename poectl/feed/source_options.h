// Where "status" and "watch" take their snapshots from.
#pragma once

#include "poectl/command_line.h"
#include "poectl/console/console_snapshot.h"
#include "poectl/feed/snapshot_feed.h"

#include <memory>
#include <string>

struct SourceOptions {
  std::string from;   // "queue" or "console"; empty: it is chosen
  double every = 0;   // s between two snapshots from the console; 0: the default
  bool noBus = false; // only the reports without transfers
  std::string file;   // with the names of the ports; empty: the default, if any

  SnapshotReports reports() const { return noBus ? SnapshotReports::TRANSFER_FREE : SnapshotReports::ALL; }
};

// Places --from, --every, --no-bus and --file. Inline: a program without a table of commands has no
// CommandSyntax.
inline void placeSourceOptions(CommandSyntax& syntax, SourceOptions& options) {
  syntax.text("--from", options.from);
  syntax.seconds("--every", options.every);
  syntax.flag("--no-bus", options.noBus);
  syntax.text("--file", options.file);
}

// The source that the options name, else the queue, unless somebody else may be serving it. A queue
// that is left over is nobody's: `warn` gets a line that says so, and the console is asked. Throws UsageError
// for options that exclude each other.
Snapshot::Source chooseSource(const SourceOptions& options, const SnapshotFeed::Warn& warn);

// A feed from that source. `sendExample` is refused for the console, by UsageError. Throws QueueError, and
// InputError for the file with the names.
std::unique_ptr<SnapshotFeed> openFeed(const SourceOptions& options, bool sendExample,
                                       SnapshotFeed::Warn warn);
