#include "poectl/card/control_path.h"

#include "poectl/card/card_client.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr char SOCKET_NAME[] = "/poe_card.socket";

std::string variable(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? "" : value;
}

// What the user has chosen; empty when nothing.
std::string chosen(const std::string& option) {
  return option.empty() ? variable("POE_CARD_CONTROL") : option;
}

// A link is not followed: somebody else may have put it there.
bool isDirectoryOfUsersOwn(const std::string& path) {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == geteuid() &&
         (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

// Empty when the session has none. After su it may still be that of the user before.
std::string runtimeDirectory() {
  const std::string directory = variable("XDG_RUNTIME_DIR");
  return !directory.empty() && directory.front() == '/' && isDirectoryOfUsersOwn(directory) ? directory : "";
}

std::string ownDirectory() {
  return "/tmp/poe_card-" + std::to_string(geteuid());
}

void refuseForeign(const std::string& directory) {
  struct stat status {};
  if (lstat(directory.c_str(), &status) == 0 && !isDirectoryOfUsersOwn(directory)) {
    throw CardError(directory + " is not a directory of your own (user " + std::to_string(geteuid()) +
                    ") that only you can write; remove it, or name the socket by --control or "
                    "POE_CARD_CONTROL");
  }
}

std::string defaultDirectory() {
  std::string directory = runtimeDirectory();
  if (directory.empty()) {
    directory = ownDirectory();
    refuseForeign(directory);
  }
  return directory;
}

} // namespace

std::string cardControlPath(const std::string& option) {
  const std::string path = chosen(option);
  return path.empty() ? defaultDirectory() + SOCKET_NAME : path;
}

std::string newCardControlPath(const std::string& option) {
  if (chosen(option).empty()) {
    const std::string directory = defaultDirectory();
    if (mkdir(directory.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
      throw CardError("cannot make " + directory + ": " + std::strerror(errno));
    }
    refuseForeign(directory); // somebody else may have been quicker
  }
  return cardControlPath(option);
}
