// One changed value of a port in the text of a configuration file.
#pragma once

#include "poectl/config/config_file.h"

#include <string>

// What a verb of "poectl port" sets.
struct PortChange {
  unsigned port;                 // 0 to 3
  ValuePlace PortPlaces::*place; // which of the three keys
  std::uint32_t value;           // of the record: 0 or 1 to enable, a priority, mW
};

struct ConfigEdit {
  std::string text;    // the whole file
  ConfigFile file;     // what it says
  unsigned line;       // of the value, from 1
  std::string oldLine; // without their ends; equal when the file has that value already
  std::string newLine;
};

// Replaces the value and no other byte. A value that says the same already stays as it is written. `name`
// stands for the file in the errors. Throws ConfigError when the text is no configuration, or would not be
// the wanted one afterwards.
ConfigEdit editConfig(const std::string& text, const std::string& name, const PortChange& change);
