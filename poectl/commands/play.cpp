#include "poectl/card/control_path.h"
#include "poectl/command_line.h"
#include "poectl/scenario/scenario.h"
#include "poectl/scenario/scenario_player.h"
#include "poectl/scenario/tap.h"

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds START_LIMIT{10}; // for a card and its log that start together with the play
constexpr std::chrono::milliseconds LOOK_AGAIN{100};

struct PlayOptions {
  std::string file;
  std::string cardControl; // the card's control socket; the default when empty
  std::string log;         // what the service gives to syslog; none when empty
};

// Waits for the card, so that nothing is done without it. Meanwhile the service must have room for its
// messages.
void connect(std::optional<CardClient>& card, const std::string& path, StatusReceiver& receiver) {
  const Clock::time_point end = Clock::now() + START_LIMIT;
  while (!card) {
    try {
      card.emplace(path, receiver.signalDescriptor());
    } catch (const CardAbsent& error) {
      PoeStatus status;
      if (receiver.next(LOOK_AGAIN, status) == StatusReceiver::Event::INTERRUPTED) {
        throw PlayStopped("interrupted by a signal");
      }
      if (Clock::now() >= end) {
        throw CardError(error.what() + (" (waited " + std::to_string(START_LIMIT.count()) + " s)"));
      }
    }
  }
}

bool needsCard(const Scenario& scenario) {
  return std::any_of(scenario.begin(), scenario.end(), [](const Step& step) {
    return std::holds_alternative<CardStep>(step.action) ||
           std::holds_alternative<RegisterExpectation>(step.action);
  });
}

// Waits for a log in a folder that exists.
void awaitLog(const std::filesystem::path& file) {
  const Clock::time_point end = Clock::now() + START_LIMIT;
  std::error_code ignored; // whoever opens the file finds it, too
  while (!exists(file, ignored) && is_directory(absolute(file, ignored).parent_path(), ignored) &&
         Clock::now() < end) {
    std::this_thread::sleep_for(LOOK_AGAIN);
  }
}

std::optional<LogFollower> logFor(const Scenario& scenario, const std::string& name,
                                  const std::string& file) {
  const auto needing = std::find_if(scenario.begin(), scenario.end(), [](const Step& step) {
    return std::holds_alternative<LogExpectation>(step.action) ||
           std::holds_alternative<MarkLogStep>(step.action);
  });
  if (needing == scenario.end()) {
    return {};
  }
  if (file.empty()) {
    throw InputError(name + ":" + std::to_string(needing->line) +
                     ":1: the step needs the log's file; --log FILE is accepted");
  }
  awaitLog(file);
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
    std::optional<CardClient> card;
    if (needsCard(scenario)) {
      connect(card, cardControlPath(options.cardControl), receiver);
    }
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
