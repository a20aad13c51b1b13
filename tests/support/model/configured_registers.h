// What a configured chip must hold, worked out from the configuration alone.
#pragma once

#include "components/PoeDriver/poe_messages.h"

#include <cstdint>
#include <functional>
#include <string>

// Compares the registers that a configuration decides; the result names the first that differs, and is empty
// when none does. A switched-off port decides its mode and its detection only, a priority other than 1 to 3
// decides nothing.
std::string differsFromConfiguration(const PoeConfig& config,
                                     const std::function<unsigned(unsigned reg)>& registers);
