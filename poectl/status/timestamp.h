// Times of day as text.
#pragma once

#include <chrono>
#include <string>

// ISO 8601 in UTC with milliseconds: "2024-05-06T07:08:09.123Z".
std::string isoTime(std::chrono::system_clock::time_point time);

// The local time of day: "07:08:09".
std::string timeOfDay(std::chrono::system_clock::time_point time);
