// Times of day as text.
#pragma once

#include <chrono>
#include <optional>
#include <string>

// The time of day. On 32-bit machines std::chrono::system_clock::now() fails from 2038-01-19 on: Debian's C++
// library has a time_t of 32 bits there.
std::chrono::system_clock::time_point currentTime();

// ISO 8601 in UTC with milliseconds: "2024-05-06T07:08:09.123Z".
std::string isoTime(std::chrono::system_clock::time_point time);

// The time of such a text, of the years 1970 to 2149; nothing for any other text.
std::optional<std::chrono::system_clock::time_point> timeFromIso(const std::string& text);

// The local time of day: "07:08:09".
std::string timeOfDay(std::chrono::system_clock::time_point time);
