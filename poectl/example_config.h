// The configuration that is sent when the user names none.
#pragma once

#include "components/PoeDriver/poe_messages.h"

// 100 W in bank 0; ports 0, 1 and 2 enabled with priority 1, 2 and 3 and 15, 30 and 15 W; port 3 off.
PoeConfig exampleConfig();
