// The trials as text: a Markdown table in which equal outcomes are one row, or a line for each trial and
// port.
#pragma once

#include "tests/faults/power/trials.h"

#include <string>
#include <vector>

std::string tableOf(const std::vector<TriedEvent>& events);
std::string linesOf(const std::vector<TriedEvent>& events);
