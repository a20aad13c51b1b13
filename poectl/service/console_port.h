// The port of the service's debug console.
#pragma once

// True when CONSOLE_PORT cannot be bound because somebody listens on it.
bool consolePortIsTaken();
