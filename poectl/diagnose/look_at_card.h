// Looks at a card through console, log and queues, for the verdicts.
#pragma once

#include "poectl/diagnose/card_looks.h"

#include <chrono>
#include <functional>
#include <string>

enum class BusUse {
  UNLESS_FAILING, // the reports that make transfers are asked for, unless the others show a bus that fails
  ALWAYS,
  NEVER,
};

struct LookOptions {
  PortNames names; // for the outputs
  BusUse bus = BusUse::UNLESS_FAILING;
  std::string log;                         // a file; empty: the system's log, where it can be read
  std::chrono::milliseconds interval{700}; // between two transfer-free looks; no multiple of a cycle
  std::chrono::milliseconds growth{3000};  // between two readings of a port's counters
};

// The most transfers that the looks make: "info" 9, "poeport" 10 for each of 4 ports and twice, two
// registers.
constexpr unsigned MAX_LOOK_TRANSFERS = 92;

// Takes 3 s, or 6 s when a port needs a second reading; each reply may take 5 s more. Calls `say` with one
// line before it uses the bus. Does not throw for what it cannot get: the result notes that.
CardLooks lookAtCard(const LookOptions& options, const std::function<void(const std::string&)>& say);
