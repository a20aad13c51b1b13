// Scenario files: what the main process, the card and the console do, and what must come of it.
//
// One step a line, words separated by blanks, "..." around a text with blanks, # in front of a comment:
//
//   apply FILE | apply again
//   card WORDS
//   console WORDS [shows "TEXT"]
//   wait SECONDS
//   after N messages
//   mark log
//   expect port PORT FIELD VALUE [TIMING]        VALUE of a counter also as +N or "+N or more"
//   expect ports PORT,PORT... FIELD VALUE [TIMING]
//   expect ports PORT,PORT... counters unchanged since line N [for N messages]
//   expect chip FIELD VALUE [TIMING]
//   expect register ADDRESS VALUE [TIMING]
//   expect log "TEXT" [within LIMIT]
//   expect no log "TEXT" [for N messages]
//
// TIMING is "within SECONDS", "within N messages", or for a value "stays" in front of it and "for N messages"
// after it.
#pragma once

#include "components/PoeDriver/poe_messages.h"
#include "poectl/config/input_file.h"
#include "poectl/status/status_field.h"

#include <functional>
#include <optional>
#include <string>
#include <variant>
#include <vector>

// The text is one line: FILE:LINE:COLUMN: what was wrong; what is accepted.
class ScenarioError : public InputError {
public:
  using InputError::InputError;
};

constexpr unsigned DEFAULT_MESSAGES = 5; // that an expectation waits for

// When an expectation must hold.
struct Timing {
  bool stays = false;            // at each of so many messages, instead of at one of them
  std::optional<double> seconds; // the limit of the wait, instead of a number of messages
  unsigned messages = DEFAULT_MESSAGES;
};

struct WantedValue {
  enum class Kind { EXACTLY, INCREASE, INCREASE_OR_MORE };
  Kind kind = Kind::EXACTLY;
  std::int64_t value = 0;
};

struct ApplyStep {
  PoeConfig config;
};

struct CardStep {
  std::string words;
};

struct ConsoleStep {
  std::string words;
  std::optional<std::string> shows; // must be in the reply
};

struct WaitStep {
  double seconds;
};

struct AfterStep {
  unsigned messages;
};

struct MarkLogStep {};

struct StatusExpectation {
  const StatusField* field;
  std::vector<unsigned> ports; // one message must hold for all of them; none for a field of the chip
  WantedValue wanted;
  Timing timing;
};

// All counters of these ports are as they were when an earlier step ended.
struct CountersExpectation {
  std::vector<unsigned> ports;
  unsigned line; // of that step
  Timing timing; // stays
};

struct RegisterExpectation {
  unsigned address;
  unsigned value;
  Timing timing;
};

struct LogExpectation {
  std::string text;
  bool absent;
  Timing timing;
};

using StepAction = std::variant<ApplyStep, CardStep, ConsoleStep, WaitStep, AfterStep, MarkLogStep,
                                StatusExpectation, CountersExpectation, RegisterExpectation, LogExpectation>;

struct Step {
  unsigned line;    // of the file
  std::string text; // the line without its comment
  StepAction action;
};

using Scenario = std::vector<Step>;

// Reads the configuration of an `apply` step; throws InputError.
using ConfigReader = std::function<PoeConfig(const std::string& file)>;

// The steps of a file's text, all of them checked; `name` stands for the file in the errors. Throws
// ScenarioError.
Scenario parseScenario(const std::string& text, const std::string& name,
                       const ConfigReader& readConfiguration);

// The steps of a file, or of standard input when the path is "-"; the files of its configurations are named
// from its own folder. Throws InputError.
Scenario readScenario(const std::string& path);
