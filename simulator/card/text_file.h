// Whole small files as text.
#pragma once

#include <cstddef>
#include <string>

// The contents of a regular file of at most `most` bytes. Never waits for anybody.
// Throws std::runtime_error: why it cannot be read, and what is accepted.
std::string readTextFile(const std::string& path, std::size_t most);
