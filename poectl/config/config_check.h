// What the service does with a configuration, in words.
#pragma once

#include "poectl/config/port_names.h"

#include <string>

// A line for each bank that is not 0, one for each port, one for the sum of the limits; then a line that
// starts with "warning: " for everything that is probably not meant.
std::string configText(const PoeConfig& config, const PortNames& names = {});
