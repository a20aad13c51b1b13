// The live view of "replay".
#pragma once

#include "poectl/view/replay_options.h"

// Goes on until 'q' or an end signal, also after the end of the record. Returns the exit status. Throws
// InputError for a damaged record after the view has ended, and ScreenError; the terminal is then as it was
// before.
int runReplayView(const ReplayOptions& options);
