// The names that a configuration file gives to the ports.
#pragma once

#include "poectl/status/port_label.h"

#include <string>

constexpr unsigned MAX_PORT_NAME = 24; // characters

// Whether a text may be the name of a port: 1 to MAX_PORT_NAME characters of UTF-8, none of them a control
// character or one that changes the direction of the text.
bool isPortName(const std::string& text);

// The names in the file that an option names, else in the file that the environment variable POECTL_FILE
// names. All empty when neither names one. Throws InputError for a file that is refused.
PortNames portNames(const std::string& option);

// That file; empty when neither names one.
std::string configPath(const std::string& option);
