// The report that an engineer mails to support: what can be known of card and machine, read-only.
#pragma once

#include "poectl/diagnose/look_at_card.h"

#include <string>

struct CardReport {
  std::string text;
  std::string gaps; // what could not be had and why, one line each; the text has them, too
};

// Looks at the card as lookAtCard() does, and at the machine: packages, unit, adapters, kernel. No
// environment and no command line of a process gets into it, and of the log only the service's lines. Each
// program that is asked has 5 s and 64 KiB. Throws nothing for what cannot be had.
CardReport makeCardReport(const LookOptions& options, const std::function<void(const std::string&)>& say);
