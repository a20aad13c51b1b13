// A file that appears whole or not at all.
#pragma once

#include <string>

// Throws InputError, one line, when something of this name exists already.
void requireNewFile(const std::string& path);

// Writes the text to a file beside `path` and renames it. Throws InputError; then there is no new file.
void writeNewFile(const std::string& path, const std::string& text);
