// What `poectl diagnose` prints.
#pragma once

#include "poectl/diagnose/card_looks.h"

#include <string>

// One line per port, the verdicts with evidence and remedy, the notes, and what was not looked at.
std::string diagnosisText(const CardLooks& looks);
