// poectl: plays the card's main process for a person or a script.
//
// Exit status: 0 when the command did its work, 1 when it could not (one line on standard error says why), 2
// for a command line or a file that is not understood.
#include "poectl/card/card_client.h"
#include "poectl/commands/card.h"
#include "poectl/commands/config_commands.h"
#include "poectl/commands/console.h"
#include "poectl/commands/play.h"
#include "poectl/commands/preflight.h"
#include "poectl/commands/status.h"
#include "poectl/commands/watch.h"
#include "poectl/config/audit_text.h"
#include "poectl/config/input_file.h"
#include "poectl/service/console_client.h"
#include "poectl/service/queue.h"

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr int FAILED = 1;
constexpr int BAD_INPUT = 2;

struct Options {
  std::string file;
  ExplainOptions explain;
  bool json = false;
  bool prometheus = false;
  WatchOptions watch;
  bool force = false;
  std::string cardControl;
  bool printSocket = false;
  std::vector<std::string> words; // behind "--"
  PlayOptions play;
};

void addConfigCommands(CLI::App& application, Options& options) {
  CLI::App* apply = application.add_subcommand("apply", "send a configuration to the service");
  apply->add_option("FILE", options.file, "the configuration; - is standard input")
      ->type_name("")
      ->required();
  apply->footer("Example: poectl apply card.toml");
  CLI::App* check =
      application.add_subcommand("check", "tell what the service does with a configuration; nothing is sent");
  check->add_option("FILE", options.file, "the configuration; - is standard input")
      ->type_name("")
      ->required();
  check->footer("Example: poectl check card.toml");
  CLI::App* example = application.add_subcommand("example", "print a configuration with comments");
  example->footer("Example: poectl example >card.toml");
}

void addExplainCommand(CLI::App& application, Options& options) {
  CLI::App* explain =
      application.add_subcommand("explain", "tell what the power-budget audit does with a configuration");
  explain->add_option("FILE", options.file, "the configuration; - is standard input")
      ->type_name("")
      ->required();
  explain->add_flag("--status", options.explain.status,
                    "start from the running service's bank limit and port states, as its console shows them");
  explain
      ->add_option("--bank-limit", options.explain.bankLimit,
                   "what the active bank allows (default: bank 0 of the file)")
      ->type_name("W")
      ->check(CLI::Range(0, 255)); // what the chip's register holds
  explain
      ->add_option("--port", options.explain.ports,
                   "a port's state, 'P detection=WORD powered=yes|no' (default: detected good and powered)")
      ->type_name("STATE")
      ->allow_extra_args(false);
  explain->footer("Examples: poectl explain card.toml --status\n"
                  "          poectl explain card.toml --bank-limit 30 --port '1 powered=no'");
}

void addStatusCommand(CLI::App& application, Options& options) {
  CLI::App* status =
      application.add_subcommand("status", "create /queueToMain, wait for one status message and show it");
  CLI::Option* json = status->add_flag("--json", options.json, "as JSON, under the records' field names");
  status->add_flag("--prometheus", options.prometheus, "in the text format of Prometheus")->excludes(json);
  status->footer("Example: poectl status --json");
}

StatusFormat statusFormat(const Options& options) {
  if (options.json) {
    return StatusFormat::JSON;
  }
  return options.prometheus ? StatusFormat::PROMETHEUS : StatusFormat::TEXT;
}

// CLI::Range would take a nan, which is neither below nor above.
CLI::Validator seconds() {
  constexpr double MIN = 0.1;
  constexpr double MAX = 1e9;
  return {[](const std::string& text) {
            double value = 0;
            const bool inRange = CLI::detail::lexical_cast(text, value) && value >= MIN && value <= MAX;
            return inRange ? std::string() : "Value " + text + " not in range 0.100000 to 1000000000.000000";
          },
          "FLOAT in [0.1 - 1e+09]"};
}

void addWatchCommand(CLI::App& application, WatchOptions& options) {
  CLI::App* watch = application.add_subcommand(
      "watch", "create /queueToMain and show the status messages; live on a terminal");
  watch->add_option("--seconds", options.seconds, "end after this time (default: when interrupted)")
      ->type_name("S")
      ->check(seconds());
  watch->add_option("--count", options.count, "end after this many messages; no live view")
      ->type_name("N")
      ->check(CLI::Range(1UL, 1000000000UL));
  watch->add_flag("--json", options.json, "one JSON object on a line for each message");
  watch->add_flag("--events", options.events, "what changes instead of the messages, a line each");
  watch->add_flag("--example", options.sendExample,
                  "send the example configuration whenever the service is seen to start");
  watch
      ->add_option("--control", options.cardControl,
                   "the simulated card's control socket for the keys of the live view")
      ->type_name("PATH");
  watch->footer("Example: poectl watch --seconds 10");
}

void addConsoleCommands(CLI::App& application, Options& options) {
  CLI::App* console =
      application.add_subcommand("console", "send a command to the service's debug console, or open it");
  console->prefix_command(); // what follows belongs to the console, also when it looks like an option
  console->footer("Example: poectl console channel 0");
  application.add_subcommand("preflight", "tell whether the queues and the console's port are free")
      ->footer("Example: poectl preflight");
  CLI::App* clean = application.add_subcommand(
      "clean", "remove the queues that a killed service or main process left behind and nobody serves");
  clean->add_flag(
      "--force", options.force,
      "remove them whoever serves them: a running service then takes no configuration until it is "
      "started again");
  clean->footer("Example: poectl clean");
}

void addCardCommand(CLI::App& application, Options& options) {
  CLI::App* card = application.add_subcommand("card", "send a command to the simulated card");
  card->add_option("--control", options.cardControl,
                   "the card's control socket (default: $POE_CARD_CONTROL, else the user's own)")
      ->type_name("PATH");
  card->add_flag("--print-socket", options.printSocket,
                 "print the control socket's path for poe_card --control, and make its default directory");
  card->prefix_command(); // what follows belongs to the card
  card->footer("Example: poectl card plug 0 class=4 watts=22\n'poectl card help' lists the card's words.");
}

void addPlayCommand(CLI::App& application, PlayOptions& options) {
  CLI::App* play = application.add_subcommand(
      "play", "carry a scenario file out and print its results as TAP; creates /queueToMain");
  play->add_option("FILE", options.file, "the scenario; - is standard input")->type_name("")->required();
  play->add_option("--control", options.cardControl,
                   "the card's control socket (default: $POE_CARD_CONTROL, else the user's own)")
      ->type_name("PATH");
  play->add_option("--log", options.log, "the service's log, as poe_card --log writes it, for 'expect log'")
      ->type_name("LOG");
  play->footer("Example: poectl play unplug.play --control card.socket --log service.log\n"
               "with unplug.play:\n"
               "  apply card.toml                                # a file that 'poectl check' takes\n"
               "  card plug 0 class=4 watts=22                   # what 'poectl card' takes\n"
               "  expect port 0 state DELIVERINGPOWER within 3   # s\n"
               "  after 2 messages\n"
               "  card unplug 0\n"
               "  expect port 0 underLoadCounter +1\n"
               "  expect port 0 state stays SEARCHING for 3 messages\n"
               "docs/scenarios.md tells all of it.");
}

// Cuts the words behind a "--" off the command line of "console" or "card", for CLI would look for them among
// its own. A "--" behind the first word is one of the words.
std::vector<std::string> cutWords(int& argc, char** argv) {
  const std::string command = argc > 1 ? argv[1] : "";
  if (command != "console" && command != "card") {
    return {};
  }
  int mark = 2;
  while (mark < argc && argv[mark][0] == '-' && std::strcmp(argv[mark], "--") != 0) {
    mark += std::strcmp(argv[mark], "--control") == 0 ? 2 : 1;
  }
  if (mark >= argc || std::strcmp(argv[mark], "--") != 0) {
    return {};
  }
  std::vector<std::string> words(argv + mark + 1, argv + argc);
  argc = mark;
  return words;
}

// What belongs to the console or the card.
std::vector<std::string> wordsOf(const CLI::App& command, const Options& options) {
  return options.words.empty() ? command.remaining() : options.words;
}

int execute(const CLI::App& command, const Options& options) {
  const std::string& name = command.get_name();
  if (name == "apply") {
    return applyFile(options.file);
  }
  if (name == "check") {
    return checkFile(options.file);
  }
  if (name == "example") {
    return printExample();
  }
  if (name == "explain") {
    return explainFile(options.file, options.explain);
  }
  if (name == "status") {
    return printStatus(statusFormat(options));
  }
  if (name == "console") {
    return console(wordsOf(command, options));
  }
  if (name == "card") {
    return options.printSocket ? printCardSocket(options.cardControl)
                               : card(options.cardControl, wordsOf(command, options));
  }
  if (name == "play") {
    return play(options.play);
  }
  if (name == "watch") {
    return watch(options.watch);
  }
  if (name == "preflight") {
    return preflight();
  }
  if (name == "clean") {
    return clean(options.force);
  }
  throw std::logic_error("the command " + name + " is not carried out");
}

// What a command has written must have arrived: a full disk is not to look like success.
bool deliverOutput() {
  if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) {
    return true;
  }
  std::fprintf(stderr, "poectl: cannot write to standard output: %s\n", std::strerror(errno));
  return false;
}

// Understands the command line and carries it out. Returns the exit status.
int commandLine(int argc, char** argv) {
  CLI::App application("Plays the card's main process: configures the PoE service and shows its status.",
                       "poectl");
  application.set_version_flag("--version", POE_VERSION);
  application.require_subcommand(0, 1);

  Options options;
  addConfigCommands(application, options);
  addExplainCommand(application, options);
  addStatusCommand(application, options);
  addWatchCommand(application, options.watch);
  addConsoleCommands(application, options);
  addCardCommand(application, options);
  addPlayCommand(application, options.play);
  options.words = cutWords(argc, argv);

  try {
    application.parse(argc, argv);
    if (application.get_subcommands().empty()) {
      throw CLI::ValidationError("a command is missing");
    }
  } catch (const CLI::Success& request) { // help and version
    std::ostringstream text;
    application.exit(request, text);
    std::fputs(text.str().c_str(), stdout);
    return deliverOutput() ? 0 : FAILED;
  } catch (const CLI::ParseError& error) {
    std::fprintf(stderr, "poectl: %s; 'poectl --help' lists what is accepted\n", error.what());
    return BAD_INPUT;
  }
  const CLI::App& command = *application.get_subcommands().front();
  const int status = execute(command, options);
  const bool tellsItself = command.get_name() == "watch"; // as it goes on
  return status == 0 && !tellsItself && !deliverOutput() ? FAILED : status;
}

int fail(const std::exception& error, int status) {
  std::fprintf(stderr, "poectl: %s\n", error.what());
  return status;
}

} // namespace

int main(int argc, char** argv) {
  try {
    return commandLine(argc, argv);
  } catch (const InputError& error) { // begins with the file's name
    std::fprintf(stderr, "%s\n", error.what());
    return BAD_INPUT;
  } catch (const PortStateError& error) {
    return fail(error, BAD_INPUT);
  } catch (const CardRefusal& error) {
    return fail(error, BAD_INPUT);
  } catch (const ConsoleInputError& error) {
    return fail(error, BAD_INPUT);
  } catch (const std::exception& error) { // QueueError, ConsoleError, CardError
    return fail(error, FAILED);
  }
}
