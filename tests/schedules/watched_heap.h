// The memory of the service in a run: what is freed stays filled with a pattern until the end of the run, so
// that its later use shows.
#pragma once

#include <string>

// Ends the watch over what was freed. The result says what is wrong, and is empty when nothing is: a block
// was written after its end, or one is still there.
std::string endOfWatchedHeap();
