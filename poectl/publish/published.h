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

// The last snapshot that was published into the directory, however old it is; nothing when there is none.
// Never waits. Throws InputError, one line, when the file cannot be read or is no snapshot.
std::optional<Snapshot> lastPublished(const std::string& directory);

// Its age at `now`, a time of currentTime(); 0 for one of the future, which a clock that was set back makes.
std::chrono::milliseconds ageOf(const Snapshot& snapshot, Snapshot::Time now);

// Whether a snapshot of this age is no longer what the service says.
bool isStaleAt(const Snapshot& snapshot, std::chrono::milliseconds age);
