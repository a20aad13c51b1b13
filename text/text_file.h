// Files that the user names.
#pragma once

#include <cstddef>
#include <string>

// The contents of a regular file of at most `most` bytes. Never waits for anybody.
// Throws std::runtime_error: why it cannot be read, and what is accepted.
std::string readTextFile(const std::string& path, std::size_t most);

// Makes the file when it is not there, and leaves what is in it. Never waits for
// anybody. Throws std::runtime_error: why it cannot be written, a pipe or a socket
// among them, and what is accepted.
void requireWritableFile(const std::string& path);
