#include "poectl/complete.h"

#include "poectl/card/card_client.h"
#include "poectl/card/control_path.h"
#include "poectl/commands.h"
#include "poectl/commands/port.h"
#include "poectl/console/console_vocabulary.h"

#include <algorithm>
#include <cstdio>
#include <sstream>

namespace {

using Words = std::vector<std::string>;

// The shell itself puts files and directories in their place.
constexpr const char* ANY_FILE = "<FILE>";
constexpr const char* ANY_DIRECTORY = "<DIRECTORY>";

// The first word of each line of the card's help; none without a card.
Words cardWords(const std::string& control) {
  Words words;
  try {
    std::istringstream help(CardClient(cardControlPath(control)).ask("help"));
    for (std::string line; std::getline(help, line);) {
      words.push_back(line.substr(0, line.find_first_of(" :")));
    }
  } catch (const CardError&) { // the person is writing a command line; nothing but candidates may appear
    words.clear();
  }
  return words;
}

// What the words of a command have come to.
struct Position {
  const CommandOption* valueOf = nullptr; // the option that the next word belongs to
  std::string control;                    // the value of --control
  Words arguments;                        // that are no options
};

Position positionAfter(const Words& words, const std::vector<CommandOption>& options) {
  Position position;
  for (const std::string& word : words) {
    if (position.valueOf != nullptr) {
      if (std::string("--control") == position.valueOf->name) {
        position.control = word;
      }
      position.valueOf = nullptr;
      continue;
    }
    const auto option = std::find_if(options.begin(), options.end(),
                                     [&](const CommandOption& candidate) { return word == candidate.name; });
    if (option == options.end()) {
      position.arguments.push_back(word);
    } else if (option->takesValue()) {
      position.valueOf = &*option;
    }
  }
  return position;
}

Words valuesOf(const CommandOption& option) {
  if (std::string("--from") == option.name) {
    return {"queue", "console"};
  }
  return option.takesFile() ? Words{ANY_FILE} : option.takesDirectory() ? Words{ANY_DIRECTORY} : Words{};
}

// The words that may follow the arguments of a command that has words of its own.
Words wordsAfter(const Command& command, const Position& position) {
  const std::size_t count = position.arguments.size();
  if (command.declare == portCommand) {
    return count == 0   ? Words(CONSOLE_CHANNELS.begin(), CONSOLE_CHANNELS.end())
           : count == 1 ? Words(PORT_VERBS.begin(), PORT_VERBS.end())
                        : Words{};
  }
  if (!command.takesWords()) {
    return {};
  }
  if (command.declare == consoleCommand) {
    return consoleCandidates(position.arguments);
  }
  return count == 0 ? cardWords(position.control) : Words{};
}

// What may follow the words of a command.
Words candidatesAfter(const Command& command, const Words& words) {
  const std::vector<CommandOption> options = command.options();
  const Position position = positionAfter(words, options);
  if (position.valueOf != nullptr) {
    return valuesOf(*position.valueOf);
  }
  Words candidates;
  if (!command.takesWords() || position.arguments.empty()) {
    for (const CommandOption& option : options) {
      candidates.emplace_back(option.name);
    }
    candidates.emplace_back("--help");
  }
  if (command.takesFile()) {
    candidates.emplace_back(ANY_FILE);
  }
  const Words more = wordsAfter(command, position);
  candidates.insert(candidates.end(), more.begin(), more.end());
  return candidates;
}

Words commandNames() {
  Words names;
  for (const Command& command : commands()) {
    names.emplace_back(command.name);
  }
  names.emplace_back("--help");
  names.emplace_back("--version");
  return names;
}

} // namespace

int complete(const Words& words) {
  const Command* command = words.size() > 1 ? findCommand(words.front()) : nullptr;
  Words candidates;
  if (words.size() == 1) {
    candidates = commandNames();
  } else if (command != nullptr) {
    candidates = candidatesAfter(*command, {words.begin() + 1, words.end() - 1});
  }
  for (const std::string& candidate : candidates) {
    if (candidate == ANY_FILE || candidate == ANY_DIRECTORY || candidate.rfind(words.back(), 0) == 0) {
      std::puts(candidate.c_str());
    }
  }
  return 0;
}
