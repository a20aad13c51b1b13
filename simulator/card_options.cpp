#include "simulator/card_options.h"

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
    "  --no-adapter  there is no /dev/i2c-0\n"
    "  --absent      nothing answers at address 0x20\n"
    "  --log FILE    append what COMMAND gives to syslog to FILE, '<PRIORITY> text'\n"
    "  --help        this text\n"
    "\n"
    "SIGTERM, SIGINT, SIGHUP and SIGQUIT are passed on to COMMAND; what COMMAND leaves\n"
    "running at its end is killed. The exit status is that of COMMAND, or 128 + the\n"
    "signal that ended it; 127 when it cannot be run, 2 for a wrong option, 1 when\n"
    "there can be no simulated card.\n"
    "\n"
    "  poe_card --plug '0 class=4 watts=22' -- i2cget -y 0 0x20 0x43\n";

namespace {

constexpr const char* ACCEPTED = "--plug, --control, --no-adapter, --absent, --log, --help, then -- COMMAND";

enum Option { PLUG = 1, CONTROL, NO_ADAPTER, ABSENT, LOG, HELP };

// The value is what follows the word plug.
CardCommand parsePlug(const std::string& value) {
  try {
    return parseCardCommand("plug " + value);
  } catch (const CardCommandError& error) {
    throw UsageError(std::string("--plug: ") + error.what());
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
  if (optopt == NO_ADAPTER || optopt == ABSENT || optopt == HELP) {
    const std::string word = argv[optind - 1];
    return word.substr(0, word.find('=')) + " takes no value";
  }
  // Of joined short options, the word is still the current one.
  const std::string word = optopt != 0 ? std::string("-") + static_cast<char>(optopt) : argv[optind - 1];
  return "'" + word + "' is not understood; accepted are " + ACCEPTED;
}

} // namespace

CardOptions parseCardOptions(int argc, char** argv) {
  static constexpr option OPTIONS[] = {
      {"plug", required_argument, nullptr, PLUG},
      {"control", required_argument, nullptr, CONTROL},
      {"no-adapter", no_argument, nullptr, NO_ADAPTER},
      {"absent", no_argument, nullptr, ABSENT},
      {"log", required_argument, nullptr, LOG},
      {"help", no_argument, nullptr, HELP},
      {nullptr, 0, nullptr, 0},
  };
  CardOptions options;
  opterr = 0; // The messages are ours.
  for (int found = 0; (found = getopt_long(argc, argv, "+:", OPTIONS, nullptr)) != -1;) {
    switch (found) {
    case PLUG:
      options.plugged.push_back(parsePlug(optarg));
      break;
    case NO_ADAPTER:
      options.adapter = false;
      break;
    case ABSENT:
      options.chipPresent = false;
      break;
    case LOG:
      options.logFile = fileName("--log", optarg);
      break;
    case CONTROL:
      options.controlPath = fileName("--control", optarg);
      break;
    case HELP:
      options.help = true;
      return options;
    case ':':
      throw UsageError(optopt == PLUG ? "--plug needs 'PORT [class=C] [watts=W] [signature=S]'"
                                      : std::string(argv[optind - 1]) + " needs the name of a file");
    default:
      throw UsageError(notUnderstood(argv));
    }
  }
  options.command.assign(argv + optind, argv + argc);
  if (options.command.empty()) {
    throw UsageError(std::string("there is no command to run; accepted are ") + ACCEPTED);
  }
  return options;
}
