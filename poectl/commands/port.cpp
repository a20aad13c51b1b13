#include "poectl/commands/port.h"

#include "components/PoeDriver/power_limits.h"
#include "poectl/command_line.h"
#include "poectl/commands/apply.h"
#include "poectl/commands/port_cycle.h"
#include "poectl/config/config_edit.h"
#include "poectl/config/file_replacement.h"
#include "poectl/service/end_signals.h"
#include "text/number.h"
#include "text/text.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <memory>

namespace {

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

// Whole W, as the chip takes them, or exactly what the file holds.
std::uint32_t limitOf(const std::string& word) {
  const std::string unit = "mW";
  const bool isMilliwatts = word.size() > unit.size() && word.substr(word.size() - unit.size()) == unit;
  const auto number =
      text::numberFrom<std::uint32_t>(isMilliwatts ? word.substr(0, word.size() - unit.size()) : word);
  const std::uint32_t most = isMilliwatts ? MAX_PORT_LIMIT_MW : MAX_PORT_LIMIT_MW / 1000;
  if (!number || *number > most) {
    throw UsageError(text::quoted(word) +
                     " is no limit; 0 to 40 (W; 0 means 40) or 0mW to 40000mW is accepted");
  }
  return isMilliwatts ? *number : *number * 1000;
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
  std::fputs(shown(edit, path, change.port).c_str(), stdout);
  printMainProcessNote();
  return 0;
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
