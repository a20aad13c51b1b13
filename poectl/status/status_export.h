// Status messages for programs: JSON and the text format of Prometheus.
#pragma once

#include "poectl/status/snapshot.h"

#include <string>

constexpr int SNAPSHOT_VERSION = 1; // of the form of snapshotJsonLine() and snapshotJson()

// The record under its own field names, with the decoded word beside each code. One JSON object, indented,
// followed by a line end.
std::string statusJson(const PoeStatus& status);

// The same on one line, with the time of receipt (isoTime()) and the message's number in front.
std::string statusJsonLine(const std::string& time, unsigned long number, const PoeStatus& status);

// A snapshot on one line: the version of this form, the time of its end, its source, its transfers on the
// bus, the span from its begin to its end in ms, the fields of the record that its source knows, and in each
// port's record also its name and details as far as they are known ("name", "enabled", "limit_w", "priority",
// "voltage_dv", "current_ma").
std::string snapshotJsonLine(const Snapshot& snapshot);

// The same indented.
std::string snapshotJson(const Snapshot& snapshot);

// One metric for each field; those of the ports have the label "port".
std::string statusPrometheus(const PoeStatus& status);
