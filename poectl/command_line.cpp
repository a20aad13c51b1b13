#include "poectl/command_line.h"

#include "poectl/host/note.h"
#include "text/text.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace {

// A check that a value is a number in a range; `what` names the number. A nan is no number.
template <typename Number>
auto inRange(const char* what, Number min, Number max, const std::string& accepted) {
  return [=](const std::string& text) {
    Number number = 0;
    const bool isNumber =
        CLI::detail::lexical_cast(text, number) && std::isfinite(static_cast<double>(number));
    return isNumber && number >= min && number <= max
               ? std::string()
               : text::quoted(text) + (isNumber ? " is out of range" : std::string(" is no ") + what) + "; " +
                     accepted + " is accepted";
  };
}

} // namespace

CommandSyntax::CommandSyntax(const Command& command, CLI::App& parser, std::vector<std::string> words)
    : m_parser(parser), m_words(std::move(words)) {
  for (const CommandOption& option : command.options()) {
    m_unplaced.emplace(option.name, option.value);
  }
}

std::string CommandSyntax::place(const char* name) {
  const auto row = m_unplaced.extract(name);
  if (row.empty()) {
    throw std::logic_error(m_parser.get_name() + " has no row for " + name + ", or two places");
  }
  return row.mapped();
}

void CommandSyntax::expectAllPlaced() const {
  if (!m_unplaced.empty()) {
    throw std::logic_error(m_parser.get_name() + " has no place for " + m_unplaced.begin()->first);
  }
}

void CommandSyntax::flag(const char* name, bool& value) {
  place(name);
  m_parser.add_flag(name, value);
}

void CommandSyntax::text(const char* name, std::string& value) {
  m_parser.add_option(name, value)->type_name(place(name));
}

void CommandSyntax::texts(const char* name, std::vector<std::string>& values) {
  m_parser.add_option(name, values)->type_name(place(name))->allow_extra_args(false);
}

void CommandSyntax::number(const char* name, std::optional<unsigned long>& value, unsigned long min,
                           unsigned long max) {
  m_parser.add_option(name, value)
      ->type_name(place(name))
      ->check(inRange("whole number", min, max, std::to_string(min) + " to " + std::to_string(max)));
}

void CommandSyntax::seconds(const char* name, double& value) {
  constexpr double MIN = 0.1;
  constexpr double MAX = 1e9;
  m_parser.add_option(name, value)
      ->type_name(place(name))
      ->check(inRange("number of seconds", MIN, MAX, text::formatted("%g to %.0f", MIN, MAX)));
}

void CommandSyntax::exclude(const char* one, const char* other) {
  m_parser.get_option(one)->excludes(other);
}

void CommandSyntax::argument(const char* name, std::string& value) {
  m_parser.add_option(name, value)->type_name("")->required();
}

void CommandSyntax::optionalArgument(const char* name, std::optional<std::string>& value) {
  m_parser.add_option(name, value)->type_name("");
}

namespace {

// What has been written must have arrived: a full disk is not to look like success. Returns the exit status.
int deliverOutput() {
  if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) {
    return 0;
  }
  printNote(std::string("cannot write to standard output: ") + std::strerror(errno));
  return 1;
}

int print(const std::string& text) {
  std::fputs(text.c_str(), stdout);
  return deliverOutput();
}

bool isHelp(const std::string& word) {
  return word == "-h" || word == "--help";
}

// Cuts the words that belong to another program off the command's own options: those after "--", or from the
// first on that is none of the options.
std::vector<std::string> cutWords(const Command& command, std::vector<std::string>& arguments) {
  if (!command.takesWords()) {
    return {};
  }
  const std::vector<CommandOption> options = command.options();
  std::size_t count = 0; // of words that are the command's own
  while (count < arguments.size()) {
    const std::string name = arguments[count].substr(0, arguments[count].find('='));
    const auto option = std::find_if(options.begin(), options.end(),
                                     [&](const CommandOption& candidate) { return name == candidate.name; });
    if (option == options.end() && !isHelp(name)) {
      break;
    }
    const bool valueFollows = option != options.end() && option->takesValue() && name == arguments[count];
    count += valueFollows ? 2 : 1;
  }
  count = std::min(count, arguments.size());
  std::vector<std::string> words(arguments.begin() + static_cast<std::ptrdiff_t>(count), arguments.end());
  arguments.resize(count);
  if (!words.empty() && words.front() == "--") {
    words.erase(words.begin());
  }
  return words;
}

std::string superfluous(const std::string& word) {
  const bool isOption = word.size() > 1 && word.front() == '-' && word != "--";
  return isOption ? "there is no option " + text::quoted(word.substr(0, word.find('=')))
                  : text::quoted(word) + " is too much";
}

// `error` begins with the name of the option whose values are too few or too many.
std::string mismatch(const CLI::App& parser, const Command& command, const std::string& error) {
  for (const CommandOption& option : command.options()) {
    if (error.rfind(std::string(option.name) + ":", 0) == 0) {
      const bool isRepeated = parser.get_option(option.name)->count() > 1;
      return option.name + (isRepeated
                                ? std::string(" is accepted only once")
                                : " needs a " + std::string(option.value, std::strcspn(option.value, ".")));
    }
  }
  return error;
}

int runCommand(const Command& command, std::vector<std::string> arguments) {
  CLI::App parser("", std::string("poectl ") + command.name);
  CommandSyntax syntax(command, parser, cutWords(command, arguments));
  const Action action = command.declare(syntax);
  syntax.expectAllPlaced();
  const std::string help = "; '" + parser.get_name() + " --help' lists what is accepted";
  try {
    std::reverse(arguments.begin(), arguments.end()); // the parser takes them from the back
    parser.parse(arguments);
  } catch (const CLI::CallForHelp&) {
    return print(helpText(command));
  } catch (const CLI::ExtrasError&) {
    throw UsageError(superfluous(parser.remaining().front()) + help);
  } catch (const CLI::ArgumentMismatch& error) {
    throw UsageError(mismatch(parser, command, error.what()) + help);
  } catch (const CLI::ParseError& error) {
    throw UsageError(error.what() + help);
  }
  const int status = action();
  return status == 0 && !syntax.reportsWriteErrors() ? deliverOutput() : status;
}

} // namespace

int runCommandLine(const std::vector<std::string>& words) {
  const std::string accepted = "; 'poectl --help' lists what is accepted";
  if (words.empty()) {
    throw UsageError("a command is missing" + accepted);
  }
  if (isHelp(words.front())) {
    return print(helpText());
  }
  if (words.front() == "--version") {
    return print(POE_VERSION "\n");
  }
  const Command* command = findCommand(words.front());
  if (command == nullptr) {
    throw UsageError("there is no command " + text::quoted(words.front()) + accepted);
  }
  return runCommand(*command, {words.begin() + 1, words.end()});
}
