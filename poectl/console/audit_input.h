// What the running service's audit works with, read from its console: the main process owns the queue of the
// status messages, and the console shows the same records.
#pragma once

#include "components/PoeDriver/power_budget.h"

#include <cstdint>

struct AuditInput {
  std::uint32_t bankLimit; // W, of the active bank
  PortPowerStates ports;
};

// Asks the console. Throws ConsoleError, also when a reply has not the form that is expected.
AuditInput askAuditInput();
