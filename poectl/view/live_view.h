// The live view of "watch".
#pragma once

#include "poectl/feed/watch_options.h"
#include "poectl/view/view_screen.h"

// Goes on through restarts of the service and of the simulated card until 'q', an end signal or the end of
// the options' time. Returns the exit status. Throws QueueError and ScreenError; the terminal is then as it
// was before.
int runLiveView(const WatchOptions& options);
