// The names that a configuration file gives to the ports.
#pragma once

#include "components/PoeDriver/poe_messages.h"

#include <array>
#include <string>

using PortNames = std::array<std::string, POE_PORTS>; // UTF-8; empty: the port has none

constexpr unsigned MAX_PORT_NAME = 24; // characters

// Whether a text may be the name of a port: 1 to MAX_PORT_NAME characters of UTF-8, none of them a control
// character or one that changes the direction of the text.
bool isPortName(const std::string& text);

// "port 1", and for a port with a name "port 1 (camera)".
std::string portLabel(unsigned port, const PortNames& names);

// The names in the file that an option names, else in the file that the environment variable POECTL_FILE
// names. All empty when neither names one. Throws InputError for a file that is refused.
PortNames portNames(const std::string& option);

// That file; empty when neither names one.
std::string configPath(const std::string& option);
