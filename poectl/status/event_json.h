// Events for programs.
#pragma once

#include "poectl/status/status_events.h"

#include <string>

// One JSON object on one line, with its end. `time` is isoTime(); `message` is the number of the message that
// brought the event, of the last one for a STALE. After the number of a port comes its name, if it has one.
// An event of snapshots from the console has that as "source".
std::string eventJsonLine(const std::string& time, unsigned long message, const StatusEvent& event,
                          Snapshot::Source source = Snapshot::Source::QUEUE, const PortNames& names = {});
