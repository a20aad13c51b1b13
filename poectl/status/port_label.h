// How outputs call a port.
#pragma once

#include "components/PoeDriver/poe_messages.h"

#include <array>
#include <string>

using PortNames =
    std::array<std::string, POE_PORTS>; // from the configuration file, UTF-8; empty: it has none

// "port 1", and for a port with a name "port 1 (camera)".
std::string portLabel(unsigned port, const PortNames& names);
