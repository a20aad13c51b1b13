// Snapshots or events one after the other: for a pipe, a file, or a terminal without a live view.
#pragma once

#include "poectl/feed/watch_options.h"

// Returns the exit status. Throws QueueError and UsageError.
int watchStream(const WatchOptions& options);
