// The position that each software-error report of the driver carries. The readers of the log know the reports
// by these numbers: keep them when the sources change.
#pragma once

constexpr char DRIVER_PATH[] = "components/PoeDriver/pd69104";

namespace DriverLine {
constexpr int OPEN = 294;
constexpr int BIND = 306;
constexpr int DEFAULT_CONFIGURATION = 366;
constexpr int DRIVER_INFO = 455;
constexpr int SET_BANK_POWER_LIMIT = 539;
constexpr int SET_PORT_MODE = 638;
constexpr int SET_PORT_POWER_LIMIT = 718;
constexpr int SET_PORT_PRIORITY = 786;
constexpr int SET_PORT_DISCONNECT = 868;
constexpr int SET_PORT_MIDSPAN = 940;
constexpr int SET_PORT_TLIM = 1011;
constexpr int SET_PORT_HIGH_POWER = 1099;
constexpr int HIGH_POWER_CURRENT_CUT = 1148;
constexpr int HIGH_POWER_LIMIT_MODE = 1167;
constexpr int SET_DETECTION_CLASSIFICATION = 1212;
constexpr int GET_BANK_POWER_LIMIT = 1322;
constexpr int GET_POWER_STATUS = 1364;
constexpr int GET_POWER_BANK = 1522;
constexpr int GET_PORT_MODE = 1628;
constexpr int GET_CHANNEL_STATUS = 1684;
constexpr int GET_PORT_POWER_LIMIT = 1820;
constexpr int GET_PORT_PRIORITY = 1885;
constexpr int GET_MEASUREMENTS = 1943;
constexpr int GET_CHANNEL_COUNTS = 2027;
constexpr int WRITE_RANGE = 2142;
constexpr int WRITE_TRANSFER = 2154;
constexpr int READ_RANGE = 2203;
constexpr int READ_TRANSFER = 2215;
constexpr int READ16_RANGE = 2265;
constexpr int READ16_TRANSFER = 2278;
} // namespace DriverLine
