// Configurations as TOML files.
//
// [banks] holds bank0 to bank7 in W. bank0 is required; another bank that is left out is 0. [port.0] to
// [port.3] are required. Each needs enable (true or false), priority (1 to 3) and limit (0 to 40000 mW), and
// may have a name (1 to 24 printable characters). Nothing else is accepted.
#pragma once

#include "components/PoeDriver/poe_messages.h"
#include "poectl/config/input_file.h"
#include "poectl/config/port_names.h"

#include <array>
#include <string>

// The text is one line: FILE:LINE:COLUMN: what was wrong; what is accepted.
class ConfigError : public InputError {
public:
  using InputError::InputError;
};

// Where the value of a key stands: line and columns from 1, in characters; `end` is the column after it.
struct ValuePlace {
  unsigned line;
  unsigned begin;
  unsigned end;
};

struct PortPlaces {
  ValuePlace enable;
  ValuePlace priority;
  ValuePlace limit;
};

struct ConfigFile {
  PoeConfig config;
  PortNames names;
  std::array<PortPlaces, POE_PORTS> places;
};

// All that the text of a file says; `name` stands for the file in the errors. Throws ConfigError.
ConfigFile parseConfigFile(const std::string& text, const std::string& name);

// The same for a file, or for standard input when the path is "-". Throws InputError.
ConfigFile readConfigFile(const std::string& path);

// The record for the text of a file; `name` stands for the file in the errors. Throws ConfigError.
PoeConfig parseConfig(const std::string& text, const std::string& name);

// The record for a file, or for standard input when the path is "-". Throws InputError.
PoeConfig readConfig(const std::string& path);
