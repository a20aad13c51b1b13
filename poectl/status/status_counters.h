// The event counters of a port's status, in the order of the record.
#pragma once

#include "components/PoeDriver/poe_messages.h"

struct StatusCounter {
  const char* name;  // of the record's field
  const char* label; // three letters, for a narrow column
  std::uint32_t PoePortStatus::*field;
};

constexpr unsigned STATUS_COUNTERS = 6;

constexpr StatusCounter STATUS_COUNTER[STATUS_COUNTERS] = {
    {"invalidSignatureCounter", "inv", &PoePortStatus::invalidSignatureCounter},
    {"powerDeniedCounter", "den", &PoePortStatus::powerDeniedCounter},
    {"overLoadCounter", "ovl", &PoePortStatus::overLoadCounter},
    {"underLoadCounter", "und", &PoePortStatus::underLoadCounter},
    {"shortCounter", "sht", &PoePortStatus::shortCounter},
    {"classErrorCounter", "cls", &PoePortStatus::classErrorCounter},
};
