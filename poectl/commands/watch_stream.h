// Status messages or events one after the other: for a pipe, a file, or a terminal without a live view.
#pragma once

#include "poectl/commands/watch.h"

// Returns the exit status. Throws QueueError.
int watchStream(const WatchOptions& options);

// Says on standard error that no status message came. Returns the exit status for it.
int noMessageCame();
