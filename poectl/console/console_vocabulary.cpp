#include "poectl/console/console_vocabulary.h"

std::vector<std::string> consoleCandidates(std::vector<std::string> words) {
  std::vector<std::string> commands(CONSOLE_ENGINE_COMMANDS.begin(), CONSOLE_ENGINE_COMMANDS.end());
  if (words.empty()) {
    commands.emplace_back(CONSOLE_ENGINE); // the engine's name may be left out
    return commands;
  }
  if (words.front() == CONSOLE_ENGINE) {
    if (words.size() == 1) {
      return commands;
    }
    words.erase(words.begin());
  }
  if (words.size() == 1 && (words.front() == "channel" || words.front() == "poeport")) {
    return {CONSOLE_CHANNELS.begin(), CONSOLE_CHANNELS.end()};
  }
  return {};
}
