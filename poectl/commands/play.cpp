#include "poectl/card/control_path.h"
#include "poectl/command_line.h"
#include "poectl/scenario/scenario.h"
#include "poectl/scenario/scenario_player.h"
#include "poectl/scenario/tap.h"

#include <algorithm>
#include <iostream>
#include <memory>
#include <optional>

namespace {

struct PlayOptions {
  std::string file;
  std::string cardControl; // the card's control socket; the default when empty
  std::string log;         // what the service gives to syslog; none when empty
};

// A card that is not there is found out before anything is done.
std::optional<CardClient> cardFor(const Scenario& scenario, const std::string& control, int stop) {
  const bool needed = std::any_of(scenario.begin(), scenario.end(), [](const Step& step) {
    return std::holds_alternative<CardStep>(step.action) ||
           std::holds_alternative<RegisterExpectation>(step.action);
  });
  if (!needed) {
    return {};
  }
  return std::make_optional<CardClient>(cardControlPath(control), stop);
}

std::optional<LogFollower> logFor(const Scenario& scenario, const std::string& name,
                                  const std::string& file) {
  const auto needing = std::find_if(scenario.begin(), scenario.end(), [](const Step& step) {
    return std::holds_alternative<LogExpectation>(step.action);
  });
  if (needing == scenario.end()) {
    return {};
  }
  if (file.empty()) {
    throw InputError(name + ":" + std::to_string(needing->line) +
                     ":1: an expected log needs the log's file; --log FILE is accepted");
  }
  return std::make_optional<LogFollower>(file);
}

// Checks the whole file before it does anything.
int play(const PlayOptions& options) {
  const Scenario scenario = readScenario(options.file);
  std::optional<LogFollower> log = logFor(scenario, inputName(options.file), options.log);
  StatusReceiver receiver([](const std::string& warning) {
    std::cout << "# " << warning << '\n' << std::flush;
  });
  Tap tap(std::cout, scenario.size());
  try {
    std::optional<CardClient> card = cardFor(scenario, options.cardControl, receiver.signalDescriptor());
    ScenarioPlayer(receiver, card, log, tap).play(scenario);
  } catch (const std::exception& error) { // PlayStopped, CardError, QueueError
    tap.bailOut(error.what());
  }
  return tap.allOk() ? 0 : 1;
}

} // namespace

Action playCommand(CommandSyntax& syntax) {
  const auto options = std::make_shared<PlayOptions>();
  syntax.file(options->file);
  syntax.text("--control", options->cardControl);
  syntax.text("--log", options->log);
  return [options] { return play(*options); };
}
