// The one table of poectl's commands. The command line, the help, the completion and the manual page come
// from its rows, which commands.def lists.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

class CommandSyntax;

// Carries out a command. Returns the exit status of poectl.
using Action = std::function<int()>;

// Gives a command the places for its options and arguments, and returns what carries it out afterwards.
using Declaration = Action (*)(CommandSyntax& syntax);

#define COMMAND(name, group, arguments, summary, details, example)                                           \
  Action name##Command(CommandSyntax& syntax);
#include "poectl/commands.def"

struct CommandOption {
  const char* name;  // "--json"
  const char* value; // as the help names it; "" for a flag
  const char* help;  // sentences

  bool takesValue() const;
  bool takesFile() const;
  bool takesDirectory() const;
};

struct Command {
  const char* name;
  const char* group;     // the heading of the help that it stands below
  const char* arguments; // "FILE", "[WORD]...", "PORT VERB [VALUE]" or ""
  const char* summary;   // a sentence
  const char* details;   // sentences, or ""
  const char* example;   // lines of a shell
  Declaration declare;

  bool takesFile() const;
  // Takes words that belong to another program, also when they look like options.
  bool takesWords() const;

  std::vector<CommandOption> options() const;
};

const std::vector<Command>& commands();

// Null when there is no command of this name.
const Command* findCommand(std::string_view name);

// The help of poectl, and of one command.
std::string helpText();
std::string helpText(const Command& command);
