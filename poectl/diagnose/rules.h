// The two tables of rules: what is wrong with the whole card, and with one port.
#pragma once

#include "poectl/diagnose/card_looks.h"

#include <string>
#include <vector>

// Each condition returns its evidence; empty: it is not met.
using Evidence = std::string;

struct CardRule {
  const char* name;
  const char* words;
  Evidence (*evidence)(const CardLooks& looks);
  const char* remedy;
};

// The causes of the whole card first to last.
std::vector<CardRule> cardRules();

struct PortRule {
  const char* name;
  const char* words;
  Evidence (*evidence)(const CardLooks& looks, unsigned port);
  const char* remedy;
};

std::vector<PortRule> portRules();
// For a port that no other rule explains.
extern const PortRule UNEXPLAINED;

// Failed transfers since the start of the service that are no accident any more.
constexpr unsigned MANY_EPISODES = 3;
