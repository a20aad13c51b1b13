// The time that all time-outs here are measured in.
#pragma once

#include <cstdint>

// Milliseconds on the monotonic clock, from an arbitrary start. May be called from any thread.
std::uint64_t monotonicMilliseconds();
