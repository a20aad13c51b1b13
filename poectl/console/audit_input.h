// What the running service's audit works with, read from its console: the main process owns the queue of the
// status messages, and the console shows the same records.
#pragma once

#include "components/PoeDriver/power_budget.h"
#include "poectl/console/console_report.h"

#include <cstdint>

struct AuditInput {
  std::uint32_t bankLimit; // W, of the active bank
  PortPowerStates ports;
};

// What askAuditInput() costs on the chip's bus: "info".
constexpr unsigned AUDIT_TRANSFERS = INFO_TRANSFERS;

// Asks the console. Throws ConsoleError, also when a reply has not the form that is expected.
AuditInput askAuditInput();
