// The options of the command "watch".
#pragma once

#include "poectl/feed/source_options.h"

#include <optional>
#include <string>

struct WatchOptions {
  SourceOptions source;
  double seconds = 0;                 // ends after this time; 0: goes on until it is interrupted
  std::optional<unsigned long> count; // ends after this many snapshots
  bool sendExample = false;           // sends the example configuration to a service that starts
  bool json = false;                  // for programs: a JSON object on a line for each snapshot
  bool events = false;                // shows what changes instead of the snapshots
  std::string record;                 // a file that gets each snapshot; empty: none
  std::string cardControl;            // the simulated card's socket; empty for the default
};
