// Why the chip or the service refuses a port its power: its own limit, the bank's, or its device.
#pragma once

#include "components/PoeDriver/power_budget.h"
#include "poectl/diagnose/card_looks.h"

#include <cstdint>
#include <optional>
#include <string>

enum class Denial {
  NONE,       // the chip did not deny power between the looks, or nothing is known of it
  PORT_LIMIT, // the port's limit is below what the class of the device may draw
  BANK_LIMIT, // what the other ports leave of the bank's limit is
  DEVICE,     // both allow what the class may draw, so the device draws more
};

Denial denialOf(const CardLooks& looks, unsigned port);

struct PowerClass {
  std::string word; // as the report shows it: "CLASS_4" of "channel" and "CLASS4" of "poeport" are the same
  std::uint32_t watts; // that a device of this class may draw, rounded down
};
// The class that was seen last; nothing when none was.
std::optional<PowerClass> classOf(const CardLooks& looks, unsigned port);

// W of the active bank's limit that the other ports leave.
std::uint32_t leftByOthers(const CardLooks& looks, unsigned port);

// Whether the limits let the service switch this port off and on in every second cycle. The console shows 40
// W for a limit of 0, which counts as 0, and for one of 40 W. It counts as 40 W for a port that loses its
// power between the looks.
bool isRestartedByLimits(const CardLooks& looks, unsigned port);
