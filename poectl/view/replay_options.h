// The options of the command "replay".
#pragma once

#include <string>

struct ReplayOptions {
  std::string file;
  bool json = false;        // the records as they are
  bool events = false;      // what changes instead of the records
  bool skipDamaged = false; // damaged lines do not end the record
};
