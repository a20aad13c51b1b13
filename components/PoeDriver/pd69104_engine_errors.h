// The position that each software-error report of the engine carries. The readers of the log know the reports
// by these numbers: keep them when the sources change.
#pragma once

constexpr char ENGINE_PATH[] = "components/PoeDriver/pd69104_engine";

namespace EngineLine {
constexpr int START = 710;
constexpr int STOP = 750;
constexpr int POLL_PORT = 827;
constexpr int OPEN_STATUS_QUEUE = 925;
constexpr int SEND_STATUS = 940;
} // namespace EngineLine
