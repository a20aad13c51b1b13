#include "simulator/program/card_options.h"

#include <algorithm>
#include <iterator>

#include <getopt.h>

const char* const CARD_USAGE =
    "usage: poe_card [OPTION]... -- COMMAND [ARG]...\n"
    "\n"
    "Runs COMMAND with a simulated /dev/i2c-0 that has a PD69104 at address 0x20.\n"
    "\n"
    "  --plug 'PORT [class=C] [watts=W] [signature=S]'\n"
    "                a device in PORT 0..3: class 0..4 (0), drawing 0..100 W (5),\n"
    "                S good, short, capacitance, low, high or none (good)\n"
    "  --control PATH\n"
    "                a socket at PATH takes commands that change the card and tell about\n"
    "                it; COMMAND finds the path in POE_CARD_CONTROL\n"
    "  --command '[SECONDS] WORDS'\n"
    "                the words of a card command, as 'poectl card help' lists them,\n"
    "                change the card SECONDS (0) after the start; may be repeated\n"
    "  --record FILE each transfer as a line: R or W, register, value or failed\n"
    "  --record-times\n"
    "                the seconds since the start in front of each of these lines\n"
    "  --stepped     time passes by transfers only, 15 ms with each\n"
    "  --no-adapter  there is no /dev/i2c-0\n"
    "  --absent      nothing answers at address 0x20\n"
    "  --log FILE    append what COMMAND gives to syslog to FILE, '<PRIORITY> text'\n"
    "  --help        this text\n"
    "  --version     the version\n"
    "\n"
    "SIGTERM, SIGINT, SIGHUP and SIGQUIT are passed on to COMMAND; what COMMAND leaves\n"
    "running at its end is killed. The exit status is that of COMMAND, or 128 + the\n"
    "signal that ended it; 127 when it cannot be run, 2 for a wrong option or a folder\n"
    "for temporary files (TMPDIR) that cannot be used, 1 when there can be no\n"
    "simulated card, or when the record or the log has not taken everything.\n"
    "\n"
    "  poe_card --plug '0 class=4 watts=22' -- i2cget -y 0 0x20 0x43\n";

namespace {

constexpr const char* ACCEPTED = "--plug, --command, --control, --record, --record-times, --stepped, "
                                 "--no-adapter, --absent, --log, --help, --version, then -- COMMAND";

enum Option {
  PLUG = 1,
  COMMAND,
  CONTROL,
  RECORD,
  RECORD_TIMES,
  STEPPED,
  NO_ADAPTER,
  ABSENT,
  LOG,
  HELP,
  VERSION
};

constexpr option OPTIONS[] = {
    {"plug", required_argument, nullptr, PLUG},
    {"command", required_argument, nullptr, COMMAND},
    {"control", required_argument, nullptr, CONTROL},
    {"record", required_argument, nullptr, RECORD},
    {"record-times", no_argument, nullptr, RECORD_TIMES},
    {"stepped", no_argument, nullptr, STEPPED},
    {"no-adapter", no_argument, nullptr, NO_ADAPTER},
    {"absent", no_argument, nullptr, ABSENT},
    {"log", required_argument, nullptr, LOG},
    {"help", no_argument, nullptr, HELP},
    {"version", no_argument, nullptr, VERSION},
    {nullptr, 0, nullptr, 0},
};

bool takesNoValue(int found) {
  return std::any_of(std::begin(OPTIONS), std::end(OPTIONS), [found](const option& row) {
    return row.val == found && row.has_arg == no_argument && found != 0;
  });
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
  switch (found) {
  case PLUG:
    return "--plug needs 'PORT [class=C] [watts=W] [signature=S]'";
  case COMMAND:
    return "--command needs '[SECONDS] WORDS'";
  default:
    return std::string(option) + " needs the name of a file";
  }
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
  if (takesNoValue(optopt)) {
    const std::string word = argv[optind - 1];
    return word.substr(0, word.find('=')) + " takes no value";
  }
  // Of joined short options, the word is still the current one.
  const std::string word = optopt != 0 ? std::string("-") + static_cast<char>(optopt) : argv[optind - 1];
  return "'" + word + "' is not understood; accepted are " + ACCEPTED;
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
  CardOptions options;
  opterr = 0; // The messages are ours.
  for (int found = 0;
       !asksOnly(options) && (found = getopt_long(argc, argv, "+:", OPTIONS, nullptr)) != -1;) {
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
  options.command.assign(argv + optind, argv + argc);
  if (options.command.empty()) {
    throw UsageError(std::string("there is no command to run; accepted are ") + ACCEPTED);
  }
  return options;
}
