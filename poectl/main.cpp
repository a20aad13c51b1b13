// poectl: plays the card's main process for a person or a script.
//
// Exit status: 0 when the command did its work, 1 when it could not (one line on standard error says why), 2
// for a command line that is not understood.
#include "poectl/console.h"
#include "poectl/console_client.h"
#include "poectl/preflight.h"
#include "poectl/queue.h"
#include "poectl/watch.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <string>
#include <vector>

namespace {

constexpr int FAILED = 1;
constexpr int BAD_COMMAND_LINE = 2;

int execute(const CLI::App& application, const WatchOptions& watchOptions,
            const std::vector<std::string>& words) {
  if (application.got_subcommand("console")) {
    return console(words);
  }
  if (application.got_subcommand("watch")) {
    return watch(watchOptions);
  }
  if (application.got_subcommand("preflight")) {
    return preflight();
  }
  return clean();
}

// Understands the command line and carries it out. Returns the exit status.
int commandLine(int argc, char** argv) {
  CLI::App application("Plays the card's main process: configures the PoE service and shows its status.",
                       "poectl");
  application.set_version_flag("--version", POE_VERSION);
  application.require_subcommand(0, 1);

  WatchOptions watchOptions;
  CLI::App* watchCommand =
      application.add_subcommand("watch", "create /queueToMain and show the status messages");
  watchCommand
      ->add_option("--seconds", watchOptions.seconds, "end after this time (default: when interrupted)")
      ->check(CLI::Range(0.1, 1e9));
  watchCommand->add_flag("--example", watchOptions.sendExample,
                         "send the example configuration when the service is seen to run");
  CLI::App* consoleCommand =
      application.add_subcommand("console", "send a command to the service's debug console, or open it");
  consoleCommand->prefix_command(); // what follows belongs to the console, also when it looks like an option
  application.add_subcommand("preflight", "tell whether the queues and the console's port are free");
  application.add_subcommand("clean", "remove the queues that a killed service or main process left behind");

  try {
    application.parse(argc, argv);
    if (application.get_subcommands().empty()) {
      throw CLI::ValidationError("a command is missing");
    }
  } catch (const CLI::Success& request) { // help and version
    return application.exit(request);
  } catch (const CLI::ParseError& error) {
    std::fprintf(stderr, "poectl: %s; 'poectl --help' lists what is accepted\n", error.what());
    return BAD_COMMAND_LINE;
  }
  return execute(application, watchOptions, consoleCommand->remaining());
}

} // namespace

int main(int argc, char** argv) {
  try {
    return commandLine(argc, argv);
  } catch (const std::exception& error) { // QueueError, ConsoleError
    std::fprintf(stderr, "poectl: %s\n", error.what());
    return FAILED;
  }
}
