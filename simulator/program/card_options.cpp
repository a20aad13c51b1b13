#include "simulator/program/card_options.h"

#include "text/text.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>

#include <getopt.h>

namespace {

enum Option {
  NONE, // getopt_long says 0 for it
#define OPTION(what, name, value, help) what,
#include "simulator/program/card_options.def"
};

struct OptionRow {
  Option what;
  const char* name;
  const char* value; // "": none
  const char* help;

  bool takesValue() const { return *value != '\0'; }
};

constexpr OptionRow ROWS[] = {
#define OPTION(what, name, value, help) {what, name, value, help},
#include "simulator/program/card_options.def"
};

// As getopt_long takes them, with a row of zeros at the end.
std::array<option, std::size(ROWS) + 1> optionsForParser() {
  std::array<option, std::size(ROWS) + 1> options{};
  std::transform(std::begin(ROWS), std::end(ROWS), options.begin(), [](const OptionRow& row) {
    return option{row.name + std::strlen("--"), row.takesValue() ? required_argument : no_argument, nullptr,
                  row.what};
  });
  return options;
}

std::string accepted() {
  std::string names;
  for (const OptionRow& row : ROWS) {
    names += row.name + std::string(", ");
  }
  return names + "then -- COMMAND";
}

const OptionRow* find(int what) {
  const auto row = std::find_if(std::begin(ROWS), std::end(ROWS),
                                [what](const OptionRow& candidate) { return candidate.what == what; });
  return row == std::end(ROWS) ? nullptr : row;
}

TimedCommand parseCommand(const char* option, const std::string& command) {
  try {
    return parseTimedCommand(command);
  } catch (const CardCommandError& error) {
    throw UsageError(std::string(option) + ": " + error.what());
  }
}

// What an option whose value is missing needs.
std::string neededBy(int found, const char* option) {
  const OptionRow* row = find(found);
  const bool isFile = row == nullptr || row->value[0] != '\'';
  return isFile ? std::string(option) + " needs the name of a file"
                : std::string(row->name) + " needs " + row->value;
}

// The value of an option that names a file.
std::string fileName(const char* option, const char* value) {
  if (*value == '\0') {
    throw UsageError(std::string(option) + " needs the name of a file");
  }
  return value;
}

// Why getopt_long refused the word before `optind`.
std::string notUnderstood(char** argv) {
  if (const OptionRow* row = find(optopt); row != nullptr && !row->takesValue()) {
    const std::string word = argv[optind - 1];
    return word.substr(0, word.find('=')) + " takes no value";
  }
  // Of joined short options, the word is still the current one.
  const std::string word = optopt != 0 ? std::string("-") + static_cast<char>(optopt) : argv[optind - 1];
  return "'" + word + "' is not understood; accepted are " + accepted();
}

// Puts an option that is understood, and its value, where it belongs.
void take(int found, CardOptions* options) {
  switch (found) {
  case PLUG:
    options->commands.push_back(parseCommand("--plug", std::string("plug ") + optarg));
    break;
  case COMMAND:
    options->commands.push_back(parseCommand("--command", optarg));
    break;
  case CONTROL:
    options->controlPath = fileName("--control", optarg);
    break;
  case VIRTIO:
    options->virtioPath = fileName("--virtio", optarg);
    break;
  case RECORD:
    options->recordFile = fileName("--record", optarg);
    break;
  case RECORD_TIMES:
    options->recordTimes = true;
    break;
  case STEPPED:
    options->stepped = true;
    break;
  case NO_ADAPTER:
    options->adapter = false;
    break;
  case ABSENT:
    options->chipPresent = false;
    break;
  case LOG:
    options->logFile = fileName("--log", optarg);
    break;
  case LOG_TIMES:
    options->logTimes = true;
    break;
  case VERSION:
    options->version = true;
    break;
  default:
    options->help = true;
    break;
  }
}

// The user asks about the tool; what else is on the command line does not count.
bool asksOnly(const CardOptions& options) {
  return options.help || options.version;
}

} // namespace

CardOptions parseCardOptions(int argc, char** argv) {
  const auto parserOptions = optionsForParser();
  CardOptions options;
  opterr = 0; // The messages are ours.
  for (int found = 0;
       !asksOnly(options) && (found = getopt_long(argc, argv, "+:", parserOptions.data(), nullptr)) != -1;) {
    if (found == ':') {
      throw UsageError(neededBy(optopt, argv[optind - 1]));
    }
    if (found == '?') {
      throw UsageError(notUnderstood(argv));
    }
    take(found, &options);
  }
  if (asksOnly(options)) {
    return options;
  }
  if (options.recordTimes && options.recordFile.empty()) {
    throw UsageError("--record-times needs --record FILE");
  }
  if (options.logTimes && options.logFile.empty()) {
    throw UsageError("--log-times needs --log FILE");
  }
  if (!options.virtioPath.empty() && !options.adapter) {
    throw UsageError("--virtio and --no-adapter exclude each other; accepted is one of them");
  }
  options.command.assign(argv + optind, argv + argc);
  if (options.command.empty()) {
    throw UsageError("there is no command to run; accepted are " + accepted());
  }
  return options;
}

std::string cardHelp() {
  std::string help = "Usage: poe_card [OPTION]... -- COMMAND [ARG]...\n"
                     "\n"
                     "Runs COMMAND with a simulated /dev/i2c-0 that has a PD69104 at address 0x20.\n"
                     "\n";
  for (const OptionRow& row : ROWS) {
    help += text::helpEntry(std::string(row.name) + " " + row.value, row.help);
  }
  return help + "\n" +
         text::wrapped(
             "SIGTERM, SIGINT, SIGHUP and SIGQUIT are passed on to COMMAND. What COMMAND leaves running "
             "at its end is killed. The exit status is that of COMMAND, or 128 + the signal that ended "
             "it. It is 127 when COMMAND cannot be run, 2 for a wrong option or a folder for temporary "
             "files (TMPDIR) that cannot be used, and 1 when there can be no simulated card or the "
             "record or the log is not complete.") +
         "\n  poe_card --plug '0 class=4 watts=22' -- i2cget -y 0 0x20 0x43\n";
}
