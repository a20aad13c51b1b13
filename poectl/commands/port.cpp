#include "poectl/commands/port.h"

#include "components/PoeDriver/power_limits.h"
#include "poectl/command_line.h"
#include "poectl/commands/apply.h"
#include "poectl/commands/port_cycle.h"
#include "poectl/config/config_edit.h"
#include "poectl/config/file_replacement.h"
#include "poectl/console/off_watch.h"
#include "poectl/host/end_signals.h"
#include "poectl/host/note.h"
#include "poectl/host/peer_connection.h"
#include "text/number.h"
#include "text/text.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <memory>

namespace {

// The main process of a card sees the change about 1 s later, and the port needs about 1 s for its power.
constexpr std::chrono::milliseconds STAYS_OFF{3000};
constexpr std::chrono::milliseconds MAX_OFF{4000};

struct PortOptions {
  std::string port;
  std::string verb;
  std::optional<std::string> value;
  std::string file;
};

unsigned portOf(const std::string& word) {
  const auto port = text::numberFrom<unsigned>(word);
  if (!port || *port >= POE_PORTS) {
    throw UsageError(text::quoted(word) + " is no port; 0 to 3 is accepted");
  }
  return *port;
}

// A number with one to three decimals after the point, or without one, as thousandths.
std::optional<std::uint32_t> thousandthsOf(std::string_view word, std::uint32_t mostWhole) {
  constexpr std::size_t MOST_DECIMALS = 3;
  const std::size_t point = word.find('.');
  const auto whole = text::numberFrom<std::uint32_t>(word.substr(0, point));
  if (!whole || *whole > mostWhole) {
    return std::nullopt;
  }
  if (point == std::string_view::npos) {
    return *whole * 1000;
  }
  std::string decimals(word.substr(point + 1));
  if (decimals.empty() || decimals.size() > MOST_DECIMALS) {
    return std::nullopt;
  }
  decimals.resize(MOST_DECIMALS, '0');
  const auto part = text::numberFrom<std::uint32_t>(decimals);
  return part ? std::optional<std::uint32_t>(*whole * 1000 + *part) : std::nullopt;
}

// W, or exactly what the file holds. In mW.
std::uint32_t limitOf(const std::string& word) {
  const std::string unit = "mW";
  const bool isMilliwatts = word.size() > unit.size() && word.substr(word.size() - unit.size()) == unit;
  const auto limit = isMilliwatts ? text::numberFrom<std::uint32_t>(word.substr(0, word.size() - unit.size()))
                                  : thousandthsOf(word, MAX_PORT_LIMIT_MW / 1000);
  if (!limit || *limit > MAX_PORT_LIMIT_MW) {
    throw UsageError(text::quoted(word) +
                     " is no limit; 0 to 40 with up to 3 decimals (W; 0 means 40) or 0mW "
                     "to 40000mW is accepted");
  }
  return *limit;
}

std::uint32_t priorityOf(const std::string& word) {
  const auto priority = text::numberFrom<std::uint32_t>(word);
  if (!priority || *priority < 1 || *priority > 3) {
    throw UsageError(text::quoted(word) + " is no priority; 1 to 3 is accepted");
  }
  return *priority;
}

// Nothing for "cycle", which changes no file.
std::optional<PortChange> changeOf(const PortOptions& options) {
  const unsigned port = portOf(options.port);
  const bool wantsValue = options.verb == "limit" || options.verb == "priority";
  if (std::find(PORT_VERBS.begin(), PORT_VERBS.end(), options.verb) == PORT_VERBS.end()) {
    throw UsageError("there is no verb " + text::quoted(options.verb) +
                     "; on, off, cycle, limit W and priority P are accepted");
  }
  if (wantsValue != options.value.has_value()) {
    throw UsageError(options.verb + (wantsValue ? " needs a value" : " takes no value") +
                     "; on, off, cycle, limit W and priority P are accepted");
  }
  if (options.verb == "limit") {
    return PortChange{port, &PortPlaces::limit, limitOf(*options.value)};
  }
  if (options.verb == "priority") {
    return PortChange{port, &PortPlaces::priority, priorityOf(*options.value)};
  }
  if (options.verb == "cycle") {
    return std::nullopt;
  }
  return PortChange{port, &PortPlaces::enable, options.verb == "on" ? 1U : 0U};
}

std::string fileOf(const PortOptions& options) {
  const std::string path = configPath(options.file);
  if (path.empty()) {
    throw UsageError("no configuration file is named; --file FILE or the environment variable POECTL_FILE is "
                     "accepted");
  }
  std::error_code error;
  if (std::filesystem::exists(path, error) && !std::filesystem::is_regular_file(path, error)) {
    throw InputError(path + ": a regular file is accepted");
  }
  return path == "-" ? "./-" : path;
}

std::string shown(const ConfigEdit& edit, const std::string& path, unsigned port) {
  const std::string head = path + ":" + std::to_string(edit.line) + ": " + portLabel(port, edit.file.names);
  return edit.oldLine == edit.newLine ? head + " has this already\n " + edit.newLine + "\n"
                                      : head + "\n-" + edit.oldLine + "\n+" + edit.newLine + "\n";
}

// Watches, beside a main process, whether a port stays off. Returns the exit status.
int watchSwitchedOff(unsigned port, const std::string& label, std::chrono::steady_clock::time_point since) {
  const OffWatch watch = watchOff(port, since, {STAYS_OFF, MAX_OFF, true, PeerConnection::NO_STOP});
  switch (watch.end) {
  case OffWatch::End::BACK:
    printNote("undone already: " + label + " was off, and " + mainProcess() + " has switched it on again");
    return 1;
  case OffWatch::End::UNKNOWN:
    printNote(label + " was not seen to be off: " + watch.doubt);
    return 1;
  case OffWatch::End::OFF:
    break;
  }
  return 0;
}

// The new file is complete beside the old one before the service gets the change, and takes its place
// afterwards: when the sending fails, the old one is untouched.
int change(const PortChange& change, const std::string& path) {
  const ConfigEdit edit = editConfig(readInput(path), path, change);
  {
    const EndSignals signals({SIGINT, SIGTERM, SIGQUIT, SIGHUP}); // none comes between the two
    std::optional<FileReplacement> replacement;
    if (edit.oldLine != edit.newLine) {
      replacement.emplace(path, edit.text);
    }
    applyConfig(edit.file.config);
    if (replacement) {
      try {
        replacement->putInPlace();
      } catch (const InputError& error) {
        throw std::runtime_error(std::string(error.what()) +
                                 "; the service has the change, the file has not");
      }
    }
  }
  const auto since = std::chrono::steady_clock::now();
  const bool hasMainProcess = printMainProcessNote();
  std::fputs(shown(edit, path, change.port).c_str(), stdout);
  std::fflush(stdout);
  const bool isSwitchedOff =
      change.place == &PortPlaces::enable && edit.file.config.port[change.port].adminEnable == 0;
  return hasMainProcess && isSwitchedOff
             ? watchSwitchedOff(change.port, portLabel(change.port, edit.file.names), since)
             : 0;
}

int port(const PortOptions& options) {
  const std::optional<PortChange> wanted = changeOf(options);
  const std::string path = fileOf(options);
  return wanted ? change(*wanted, path) : cyclePort(readConfigFile(path), portOf(options.port), path);
}

} // namespace

Action portCommand(CommandSyntax& syntax) {
  const auto options = std::make_shared<PortOptions>();
  syntax.argument("PORT", options->port);
  syntax.argument("VERB", options->verb);
  syntax.optionalArgument("VALUE", options->value);
  syntax.text("--file", options->file);
  return [options] { return port(*options); };
}
