// What is wrong with a card, in words, with the evidence and the remedy.
#pragma once

#include "poectl/diagnose/card_looks.h"

#include <optional>
#include <string>
#include <vector>

struct Verdict {
  std::string name;             // "supply-low"; docs/troubleshooting.md has one row for each
  std::optional<unsigned> port; // nothing: the whole card
  std::string words;            // a sentence
  std::string evidence;         // lines of reports, of the log and the state of a queue
  std::string remedy;           // sentences
};

// All that is found, the causes of the whole card first. Empty for a healthy card.
std::vector<Verdict> verdictsOn(const CardLooks& looks);

// What is worth knowing but no fault: an empty port, a port that is switched off, bus errors of long ago.
std::vector<std::string> notesOn(const CardLooks& looks);

// "chip: 40 degrees Celsius, ..."
std::string chipLine(const CardLooks& looks);

// "port 1: DELIVERINGPOWER, ..."
std::string portLine(const CardLooks& looks, unsigned port);

// The names of all verdicts, in the order of the tables.
std::vector<std::string> verdictNames();
