// The six event counters of a port: where a raw count comes from, where its running total goes, and its line
// in the console's port report.
#pragma once

#include "pd69104.h"
#include "poe_messages.h"

#include <cstdint>

struct EventCounter {
  std::uint32_t PortCounts::*raw; // two bits
  std::uint32_t PoePortStatus::*total;
  std::uint32_t weight; // what one event adds to the total
  const char* reportLabel;
};

constexpr EventCounter EVENT_COUNTERS[] = {
    {&PortCounts::invalidSignatureCount, &PoePortStatus::invalidSignatureCounter, 1,
     "  invalidSignatureCounter   = "},
    // Kept: counts each denial twice.
    {&PortCounts::powerDeniedCount, &PoePortStatus::powerDeniedCounter, 2, "  powerDeniedCounter        = "},
    {&PortCounts::overLoadCount, &PoePortStatus::overLoadCounter, 1, "  overLoadCounter           = "},
    {&PortCounts::underLoadCount, &PoePortStatus::underLoadCounter, 1, "  underLoadCounter          = "},
    {&PortCounts::shortCount, &PoePortStatus::shortCounter, 1, "  shortCounter              = "},
    {&PortCounts::classErrorCount, &PoePortStatus::classErrorCounter, 1, "  classErrorCounter         = "},
};

constexpr unsigned EVENT_COUNTER_COUNT = sizeof EVENT_COUNTERS / sizeof EVENT_COUNTERS[0];
