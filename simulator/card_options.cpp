#include "simulator/card_options.h"

#include <charconv>
#include <cmath>
#include <sstream>

#include <getopt.h>

const char* const CARD_USAGE =
    "usage: poe_card [OPTION]... -- COMMAND [ARG]...\n"
    "\n"
    "Runs COMMAND with a simulated /dev/i2c-0 that has a PD69104 at address 0x20.\n"
    "\n"
    "  --plug 'PORT [class=C] [watts=W] [signature=S]'\n"
    "                a device in PORT 0..3: class 0..4 (0), drawing 0..100 W (5),\n"
    "                S good, short, capacitance, low, high or none (good)\n"
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

constexpr double MOST_WATTS = 100.0;
constexpr const char* ACCEPTED = "--plug, --no-adapter, --absent, --log, --help, then -- COMMAND";

enum Option { PLUG = 1, NO_ADAPTER, ABSENT, LOG, HELP };

template <typename Number>
bool parseNumber(const std::string& text, Number* number) {
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, *number);
  return error == std::errc() && stop == end;
}

bool parseSignature(const std::string& text, ChipModel::Signature* signature) {
  static constexpr std::pair<const char*, ChipModel::Signature> NAMES[] = {
      {"good", ChipModel::Signature::Good},
      {"short", ChipModel::Signature::Short},
      {"capacitance", ChipModel::Signature::CapacitanceTooHigh},
      {"low", ChipModel::Signature::ResistanceTooLow},
      {"high", ChipModel::Signature::ResistanceTooHigh},
      {"none", ChipModel::Signature::None},
  };
  for (const auto& [name, value] : NAMES) {
    if (text == name) {
      *signature = value;
      return true;
    }
  }
  return false;
}

void parseProperty(const std::string& word, ChipModel::Device* device) {
  const std::string::size_type equals = word.find('=');
  const std::string key = word.substr(0, equals);
  const std::string value = equals == std::string::npos ? "" : word.substr(equals + 1);
  if (key == "class") {
    if (!parseNumber(value, &device->pdClass) || device->pdClass > 4) {
      throw UsageError("--plug: '" + word + "' is not class=0 to class=4");
    }
  } else if (key == "watts") {
    if (!parseNumber(value, &device->watts) || !(device->watts >= 0.0 && device->watts <= MOST_WATTS)) {
      throw UsageError("--plug: '" + word + "' is not watts=0 to watts=100");
    }
  } else if (key == "signature") {
    if (!parseSignature(value, &device->signature)) {
      throw UsageError("--plug: '" + word + "' is not signature=good, short, capacitance, low, high or none");
    }
  } else {
    throw UsageError("--plug: '" + word + "' is not one of class=C, watts=W, signature=S");
  }
}

std::pair<unsigned, ChipModel::Device> parsePlug(const std::string& text) {
  std::istringstream words(text);
  std::string word;
  words >> word;
  unsigned port = 0;
  if (!parseNumber(word, &port) || port >= ChipModel::PORTS) {
    throw UsageError("--plug: '" + text + "' does not begin with a port 0 to 3");
  }
  ChipModel::Device device;
  while (words >> word) {
    parseProperty(word, &device);
  }
  return {port, device};
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
      {"plug", required_argument, nullptr, PLUG}, {"no-adapter", no_argument, nullptr, NO_ADAPTER},
      {"absent", no_argument, nullptr, ABSENT},   {"log", required_argument, nullptr, LOG},
      {"help", no_argument, nullptr, HELP},       {nullptr, 0, nullptr, 0},
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
      options.logFile = optarg;
      if (options.logFile.empty()) {
        throw UsageError("--log needs the name of a file");
      }
      break;
    case HELP:
      options.help = true;
      return options;
    case ':':
      throw UsageError(optopt == LOG ? "--log needs the name of a file"
                                     : "--plug needs 'PORT [class=C] [watts=W] [signature=S]'");
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
