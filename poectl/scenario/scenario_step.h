// One line of a scenario file as a step.
#pragma once

#include "poectl/scenario/scenario.h"
#include "poectl/scenario/scenario_line.h"

// All steps, as a part of a sentence.
constexpr char ACCEPTED_STEPS[] = "apply, card, console, wait, after, mark and expect are accepted";

// The step of a line that has words. `place` is FILE:LINE for the errors; `earlier` are the steps of the
// lines before it. Throws ScenarioError.
StepAction readStep(const ScenarioLine& line, const std::string& place, const ConfigReader& readConfiguration,
                    const Scenario& earlier);
