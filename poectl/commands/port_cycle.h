// Switches the power of a port off and on.
#pragma once

#include "poectl/config/config_file.h"

#include <string>

// The file, which `path` names, is sent twice: first with the port off, then as it is, unless a main process
// has switched the port on before. Returns the exit status: 1 when the port has power again, but was not seen
// to be off for 2 s, nor to be switched on by a main process. Throws UsageError for a port that is
// off in the file, CycleRefusal, ConsoleError and QueueError; a port that is left off is then named, and what
// switches it on.
int cyclePort(const ConfigFile& file, unsigned port, const std::string& path);
