// The configuration of the running service, from its console.
#pragma once

#include "poectl/config/service_settings.h"
#include "poectl/console/console_report.h"

// What askServiceSettings() costs on the chip's bus: "info" and "poeport" of each port.
constexpr unsigned SETTINGS_TRANSFERS = INFO_TRANSFERS + POE_PORTS * POEPORT_TRANSFERS;

// Throws ConsoleError, also when the service could not read a setting from the chip.
ServiceSettings askServiceSettings();
