#include "poectl/card/control_path.h"

#include "poectl/card/card_client.h"
#include "poectl/host/user_directory.h"

#include <cstdlib>

namespace {

// What the user has chosen; empty when nothing.
std::string chosen(const std::string& option) {
  const char* const variable = std::getenv("POE_CARD_CONTROL");
  return !option.empty() || variable == nullptr ? option : variable;
}

std::string pathIn(std::string (*directory)(const std::string&), const std::string& option) {
  const std::string path = chosen(option);
  try {
    return path.empty() ? directory("poe_card") + "/poe_card.socket" : path;
  } catch (const UserDirectoryError& error) {
    throw CardError(error.what() + std::string(", or name the socket by --control or POE_CARD_CONTROL"));
  }
}

} // namespace

std::string cardControlPath(const std::string& option) {
  return pathIn(userDirectory, option);
}

std::string newCardControlPath(const std::string& option) {
  return pathIn(newUserDirectory, option);
}
