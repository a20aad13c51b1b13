// What holds of every decision about the power budget, whatever the rule is that takes it.
#pragma once

#include "components/PoeDriver/power_budget.h"

// Null, or the property that the decisions do not have:
// - Each port is decided once, by priority and then by number; priorities other than 1 to 3 come last.
// - Each port's turn finds what the ports before it have left of the budget.
// - What is granted never exceeds the budget.
// - A port that is enabled, detected and fits into what is left stays; one that does not fit is not granted.
// - A port that is off or not detected is left alone, and so is one without power that does not fit.
// - A port yields to one that is served later only when that one needs less.
// - A port of a known priority is restarted only when the enabled and detected ports together exceed the
// budget.
// - A port of no known priority is granted nothing and is restarted.
const char* brokenProperty(const PoeConfig& config, std::uint32_t budgetW, const PortPowerStates& states,
                           const PowerDecisions& decisions);
