// The parts of the simulated card that commands change and reports show. Not for use from two threads at
// once.
#pragma once

#include "simulator/bus/bus_faults.h"
#include "simulator/chip/chip_access.h"
#include "simulator/chip/chip_model.h"

struct Card {
  ChipModel chip;
  BusFaults bus;
  AccessCounts accesses; // that no program for this chip has a reason to make
};
