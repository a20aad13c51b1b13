#include "poectl/commands.h"

#include "text/text.h"

#include <algorithm>

namespace {

struct OptionRow {
  Declaration command;
  CommandOption option;
};

const OptionRow OPTION_ROWS[] = {
#define OPTION(command, name, value, help) {command##Command, {name, value, help}},
#include "poectl/commands.def"
};

// An option with its value, without the dots of one that may be repeated.
std::string named(const CommandOption& option) {
  const std::string_view value(option.value);
  return option.name + (option.takesValue() ? " " : std::string()) +
         std::string(value.substr(0, value.find("...")));
}

// "[--port STATE]..."
std::string synopsisOf(const CommandOption& option) {
  const bool isRepeated = std::string_view(option.value).find("...") != std::string_view::npos;
  return "[" + named(option) + (isRepeated ? "]..." : "]");
}

} // namespace

bool CommandOption::takesValue() const {
  return *value != '\0';
}

bool CommandOption::takesFile() const {
  const std::string_view shown(value);
  return shown == "FILE" || shown == "PATH";
}

bool CommandOption::takesDirectory() const {
  return std::string_view(value) == "DIR";
}

bool Command::takesFile() const {
  return std::string_view(arguments) == "FILE";
}

bool Command::takesWords() const {
  return std::string_view(arguments) == "[WORD]...";
}

std::vector<CommandOption> Command::options() const {
  std::vector<CommandOption> options;
  for (const OptionRow& row : OPTION_ROWS) {
    if (row.command == declare) {
      options.push_back(row.option);
    }
  }
  return options;
}

const std::vector<Command>& commands() {
  static const std::vector<Command> COMMANDS = {
#define COMMAND(name, group, arguments, summary, details, example)                                           \
  {#name, group, arguments, summary, details, example, name##Command},
#include "poectl/commands.def"
  };
  return COMMANDS;
}

const Command* findCommand(std::string_view name) {
  const auto found = std::find_if(commands().begin(), commands().end(),
                                  [&](const Command& command) { return name == command.name; });
  return found == commands().end() ? nullptr : &*found;
}

std::string helpText() {
  std::string help = "Plays the card's main process: configures the PoE service and shows its status.\n"
                     "Usage: poectl COMMAND [OPTION]...\n";
  std::string_view group;
  for (const Command& command : commands()) {
    if (group != command.group) {
      group = command.group;
      help += "\n" + std::string(group) + ":\n";
    }
    help += text::helpEntry(command.name, command.summary);
  }
  return help + "\nOptions:\n" +
         text::helpEntry("-h, --help", "Prints this text, or after a command its options with an example.") +
         text::helpEntry("--version", "Prints the version.");
}

std::string helpText(const Command& command) {
  std::string synopsis = "Usage: poectl " + std::string(command.name);
  std::string options;
  for (const CommandOption& option : command.options()) {
    synopsis += " " + synopsisOf(option);
    options += text::helpEntry(named(option), option.help);
  }
  if (*command.arguments != '\0') {
    synopsis += " " + std::string(command.arguments);
  }
  options += text::helpEntry("-h, --help", "Prints this text.");
  std::string details = text::wrapped(command.details);
  return std::string(command.summary) + "\n" + text::wrapped(synopsis) + (details.empty() ? "" : "\n") +
         details + "\nOptions:\n" + options + "\nExample:\n" + command.example + "\n";
}
