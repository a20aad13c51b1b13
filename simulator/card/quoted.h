// Words of others in our messages.
#pragma once

#include <string>

// A word as a message may repeat it: in quotes, printable, of bounded length.
std::string quoted(const std::string& word);
