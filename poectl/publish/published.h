// The files that "poectl publish" keeps in its directory, for those who read them.
#pragma once

#include "poectl/config/input_file.h"
#include "poectl/status/snapshot.h"

#include <optional>
#include <string>

// The last snapshot: the line of snapshotJsonLine() and nothing else.
constexpr const char* STATUS_FILE = "status.json";
// The same for Prometheus, with the snapshot's age.
constexpr const char* METRICS_FILE = "poe.prom";

// The path of one of the two.
std::string publishedFile(const std::string& directory, const char* name);

// The snapshot in such a file, however old it is. Never waits. Throws InputError, one line, when the file
// cannot be read or is not one line with a snapshot.
Snapshot publishedSnapshot(const std::string& path);

// The last snapshot that was published into the directory; nothing when there is none. Throws InputError as
// publishedSnapshot() does.
std::optional<Snapshot> lastPublished(const std::string& directory);

// Its age at `now`, a time of currentTime(); negative when its time is in the future, as it is after the
// clock was set back.
std::chrono::milliseconds ageOf(const Snapshot& snapshot, Snapshot::Time now);

// Whether a snapshot of this age is no longer what the service says: it is as old as staleAfterPeriod() of
// its period, or as far in the future.
bool isStaleAt(const Snapshot& snapshot, std::chrono::milliseconds age);
