// A directory for what programs of one user share while they run.
#pragma once

#include <stdexcept>
#include <string>

class UserDirectoryError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

// XDG_RUNTIME_DIR where that is a directory of the user's own that nobody else can write, else /tmp/NAME-UID.
// Throws UserDirectoryError, one line, when that exists and is not the user's alone.
std::string userDirectory(const std::string& name);

// The same, and makes it with mode 0700 when it is missing.
std::string newUserDirectory(const std::string& name);
