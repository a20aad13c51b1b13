// Sleep that keeps its word.
#pragma once

// Blocks the calling thread for `seconds` (0 and less: not at all). Measured on the monotonic clock, so
// setting the time of day does not matter, and completed after a signal handler has run.
void BetterSleep(double seconds);
