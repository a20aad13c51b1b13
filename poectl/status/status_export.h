// Snapshots for programs: JSON and the text format of Prometheus.
#pragma once

#include "poectl/status/snapshot.h"

#include <string>

constexpr int SNAPSHOT_VERSION = 1; // of the form of snapshotJsonLine() and snapshotJson()

// A snapshot as a JSON object on one line. A value that the source does not know is left out. The keys are:
// - "version" of this form, "time" of the snapshot's end, "message" (its number), "source";
// - "transfers" on the bus; "span_ms" from its begin to its end; "period_ms" until the next one usually
// comes;
// - the fields of the status, each code with its word beside it;
// - in each port's record also "name", "enabled", "limit_w", "priority", "voltage_dv", "current_ma",
//   "powered" and "faults".
std::string snapshotJsonLine(const Snapshot& snapshot);

// The same indented.
std::string snapshotJson(const Snapshot& snapshot);

// One metric for each field and each detail of a port that the source knows; those of the ports have the
// label "port", and "name" for a port that has one. Those of the snapshot itself, such as its time, have the
// label "source".
std::string snapshotPrometheus(const Snapshot& snapshot);

// Whether snapshots come, as a metric.
std::string upMetric(bool isUp);

// The snapshot's age as a metric; negative when its time is in the future.
std::string ageMetric(const Snapshot& snapshot, std::chrono::milliseconds age);
