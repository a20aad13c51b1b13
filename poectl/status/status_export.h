// Snapshots for programs: JSON and the text format of Prometheus.
#pragma once

#include "poectl/status/snapshot.h"

#include <string>

constexpr int SNAPSHOT_VERSION = 1; // of the form of snapshotJsonLine() and snapshotJson()

// A snapshot on one line: the version of this form, the time of its end, its number if it has one
// ("message"), its source, its transfers on the bus, the span from its begin to its end in ms, the time until
// another one usually comes in ms if it is known ("period_ms"), the fields of the record that its source
// knows, with the decoded word beside each code, and in each port's record also its name and details as far
// as they are known ("name", "enabled", "limit_w", "priority", "voltage_dv", "current_ma", "powered",
// "faults").
std::string snapshotJsonLine(const Snapshot& snapshot);

// The same indented.
std::string snapshotJson(const Snapshot& snapshot);

// One metric for each field and each detail of a port that the source knows; those of the ports have the
// label "port", and "name" for a port that has one. Those of the snapshot itself, such as its time, have the
// label "source".
std::string snapshotPrometheus(const Snapshot& snapshot);

// Whether snapshots come, as a metric.
std::string upMetric(bool isUp);

// The snapshot's age as a metric.
std::string ageMetric(const Snapshot& snapshot, std::chrono::milliseconds age);
