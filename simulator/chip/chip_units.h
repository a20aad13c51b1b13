// What one unit of the chip's measurements is.
#pragma once

inline constexpr double VOLTS_PER_UNIT = 0.005835;
inline constexpr double AMPS_PER_UNIT = 0.00012207;
inline constexpr double DEGREES_PER_UNIT = 0.96;
inline constexpr double DEGREES_AT_ZERO = -27.0;
inline constexpr double MINIMUM_VOLTS_PER_UNIT = 0.186;
