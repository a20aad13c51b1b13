// The state of the simulated card as text.
#pragma once

#include "simulator/card/card.h"

#include <string>

// One line for each port, then one for each property of the chip and the bus, all
// of key=value.
std::string cardReport(const Card& card);
