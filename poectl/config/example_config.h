// The configuration that is sent when the user names none, and the file that stands for it.
#pragma once

#include "components/PoeDriver/poe_messages.h"

// A configuration file with comments: 100 W in bank 0; ports 0, 1 and 2 enabled with priority 1, 2 and 3 and
// 15, 30 and 15 W; port 3 off.
extern const char EXAMPLE_FILE[];

// The record that the file stands for.
PoeConfig exampleConfig();
