// A look at the card through the service's console.
#pragma once

#include "poectl/console/console_client.h"
#include "poectl/console/console_report.h"
#include "poectl/status/snapshot.h"

enum class SnapshotReports {
  ALL,           // SNAPSHOT_TRANSFERS on the chip's bus
  TRANSFER_FREE, // "device" and "channel" only
};

// Asks for one report after the other; `wait` is for all of them together. The record is what the service's
// last status message said as far as the reports show it; a consumption that cannot be read now is missing.
// The chip is UNREACHABLE when the last cycle's device status and the last transfer both failed: a chip of
// which a single register does not answer counts as running. Throws ConsoleError when one of the reports
// cannot be had or is not understood. The snapshot has no names and no number.
Snapshot takeSnapshot(SnapshotReports reports, const ConsoleWait& wait = {});

// The snapshot of these reports, `info` and `ports` only when they were asked for.
struct ConsoleReplies {
  DeviceReport device;
  std::array<ChannelReport, POE_PORTS> channels;
  std::optional<InfoReport> info;
  std::optional<std::array<PoePortReport, POE_PORTS>> ports;
};
Snapshot snapshotOf(const ConsoleReplies& replies);
