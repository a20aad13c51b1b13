#include "poectl/host/user_directory.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// A link is not followed: somebody else may have put it there.
bool isDirectoryOfUsersOwn(const std::string& path) {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == geteuid() &&
         (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

// Empty when the session has none. After su it may still be that of the user before.
std::string runtimeDirectory() {
  const char* const value = std::getenv("XDG_RUNTIME_DIR");
  const std::string directory = value == nullptr ? "" : value;
  return !directory.empty() && directory.front() == '/' && isDirectoryOfUsersOwn(directory) ? directory : "";
}

void refuseForeign(const std::string& directory) {
  struct stat status {};
  if (lstat(directory.c_str(), &status) == 0 && !isDirectoryOfUsersOwn(directory)) {
    throw UserDirectoryError(directory + " is not a directory of your own (user " +
                             std::to_string(geteuid()) + ") that only you can write; remove it");
  }
}

} // namespace

std::string userDirectory(const std::string& name) {
  std::string directory = runtimeDirectory();
  if (directory.empty()) {
    directory = "/tmp/" + name + "-" + std::to_string(geteuid());
    refuseForeign(directory);
  }
  return directory;
}

std::string newUserDirectory(const std::string& name) {
  std::string directory = userDirectory(name);
  if (mkdir(directory.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
    throw UserDirectoryError("cannot make " + directory + ": " + std::strerror(errno));
  }
  refuseForeign(directory); // somebody else may have been quicker
  return directory;
}
