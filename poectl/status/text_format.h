// printf into a string.
#pragma once

#include <string>

// At most 255 characters; the rest is cut off.
[[gnu::format(printf, 1, 2)]] std::string formatText(const char* format, ...);
