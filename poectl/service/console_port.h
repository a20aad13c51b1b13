// The port of the service's debug console.
#pragma once

#include <cstdint>

constexpr std::uint16_t CONSOLE_PORT = 10001; // of the loopback addresses

// Whether it cannot be bound because somebody listens on it.
bool consolePortIsTaken();
