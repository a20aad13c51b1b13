// The verbs of "poectl port".
#pragma once

#include <array>

constexpr std::array<const char*, 5> PORT_VERBS = {"on", "off", "cycle", "limit", "priority"};
