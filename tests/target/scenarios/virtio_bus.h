// The machine's side of the simulated card outside: its adapter and its commands.
#pragma once

#include "tests/target/scenarios/serial_line.h"

#include <string>

// Loads the modules of the adapter, so that /dev/i2c-0 is there.
void insertVirtioAdapter();

// Passes a command on to the card, over the second serial port. Returns the lines of the reply and the empty
// line after them.
std::string askCard(SerialLine& serial, const std::string& words);
