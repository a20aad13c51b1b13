// The hidden word "complete", by which a shell asks what may stand on a command line of poectl.
#pragma once

#include <string>
#include <vector>

constexpr const char* COMPLETE = "complete";

// Prints what may stand in the place of the last of the words after "poectl", one candidate per line, and
// the line "<FILE>" where any file name may. The card's words are those of the card that runs. Returns 0.
int complete(const std::vector<std::string>& words);
